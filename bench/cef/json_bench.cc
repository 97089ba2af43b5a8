// Parse and serialise cost of recorded DevTools traffic with the JSON libraries Debian
// packages, and the engine's own values built from its parse:
//   cef_json_bench [--benchmark_...]      (traffic: $VEXOR_JSON_TRAFFIC or the recording here)
// A recording is what the engine writes with VEXOR_CEF_PROTOCOL_LOG set: "< " lines came
// from Chromium, "> " lines went to it.
#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>

#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "json.h"

namespace {

using vexorcef::Json;

struct Traffic {
  std::vector<std::string> received, sent;
  size_t received_bytes = 0, sent_bytes = 0;
};

const Traffic& Recorded() {
  static Traffic t = [] {
    Traffic t;
    const char* env = std::getenv("VEXOR_JSON_TRAFFIC");
    std::ifstream in(env && *env ? env : VEXOR_JSON_TRAFFIC);
    std::string line;
    while (std::getline(in, line)) {
      if (line.size() < 3) continue;
      if (line[0] == '<') {
        t.received.push_back(line.substr(2));
        t.received_bytes += line.size() - 2;
      } else if (line[0] == '>') {
        t.sent.push_back(line.substr(2));
        t.sent_bytes += line.size() - 2;
      }
    }
    if (t.received.empty()) std::fprintf(stderr, "no traffic recorded\n");
    return t;
  }();
  return t;
}

void Count(benchmark::State& state, size_t messages, size_t bytes) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * messages));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

// What the I/O thread reads of every message before dispatching it.
template <typename Get>
size_t Route(Get get) {
  return get("id") + get("method") + get("sessionId");
}

// The engine's reader: a parse plus building the values the engine hands around.
void ParseIntoEngineJson(benchmark::State& state) {
  const Traffic& t = Recorded();
  for (auto _ : state) {
    for (const std::string& m : t.received) {
      bool ok = false;
      Json j = Json::parse(m, &ok);
      benchmark::DoNotOptimize(
          Route([&](const char* k) { return static_cast<size_t>(j.has(k)); }));
    }
  }
  Count(state, t.received.size(), t.received_bytes);
}
BENCHMARK(ParseIntoEngineJson);

void ParseNlohmann(benchmark::State& state) {
  const Traffic& t = Recorded();
  for (auto _ : state) {
    for (const std::string& m : t.received) {
      nlohmann::json j = nlohmann::json::parse(m, nullptr, false);
      benchmark::DoNotOptimize(
          Route([&](const char* k) { return static_cast<size_t>(j.contains(k)); }));
    }
  }
  Count(state, t.received.size(), t.received_bytes);
}
BENCHMARK(ParseNlohmann);

void ParseRapidJson(benchmark::State& state) {
  const Traffic& t = Recorded();
  for (auto _ : state) {
    for (const std::string& m : t.received) {
      rapidjson::Document d;
      d.Parse(m.data(), m.size());
      benchmark::DoNotOptimize(
          Route([&](const char* k) { return static_cast<size_t>(d.HasMember(k)); }));
    }
  }
  Count(state, t.received.size(), t.received_bytes);
}
BENCHMARK(ParseRapidJson);

void ParseSimdjson(benchmark::State& state) {
  const Traffic& t = Recorded();
  simdjson::dom::parser parser;
  // The engine's read buffer would carry the padding; copying into it is not parsing.
  std::vector<simdjson::padded_string> padded;
  for (const std::string& m : t.received) padded.emplace_back(m);
  for (auto _ : state) {
    for (const auto& m : padded) {
      simdjson::dom::element e;
      if (parser.parse(m).get(e)) continue;
      benchmark::DoNotOptimize(Route([&](const char* k) {
        return static_cast<size_t>(e[k].error() == simdjson::SUCCESS);
      }));
    }
  }
  Count(state, t.received.size(), t.received_bytes);
}
BENCHMARK(ParseSimdjson);

// Serialising what the engine sent: each library writes its own value of the message.
void SerialiseEngineJson(benchmark::State& state) {
  const Traffic& t = Recorded();
  std::vector<Json> values;
  for (const std::string& m : t.sent) values.push_back(Json::parse(m));
  std::string out;
  for (auto _ : state) {
    for (const Json& v : values) {
      out.clear();
      v.dumpTo(out);
      benchmark::DoNotOptimize(out.data());
    }
  }
  Count(state, t.sent.size(), t.sent_bytes);
}
BENCHMARK(SerialiseEngineJson);

void SerialiseNlohmann(benchmark::State& state) {
  const Traffic& t = Recorded();
  std::vector<nlohmann::json> values;
  for (const std::string& m : t.sent) values.push_back(nlohmann::json::parse(m));
  for (auto _ : state) {
    for (const auto& v : values) benchmark::DoNotOptimize(v.dump());
  }
  Count(state, t.sent.size(), t.sent_bytes);
}
BENCHMARK(SerialiseNlohmann);

void SerialiseRapidJson(benchmark::State& state) {
  const Traffic& t = Recorded();
  std::vector<rapidjson::Document> values(t.sent.size());
  for (size_t i = 0; i < t.sent.size(); ++i) values[i].Parse(t.sent[i].c_str());
  rapidjson::StringBuffer buffer;
  for (auto _ : state) {
    for (const auto& v : values) {
      buffer.Clear();
      rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
      v.Accept(writer);
      benchmark::DoNotOptimize(buffer.GetString());
    }
  }
  Count(state, t.sent.size(), t.sent_bytes);
}
BENCHMARK(SerialiseRapidJson);

void SerialiseSimdjson(benchmark::State& state) {
  const Traffic& t = Recorded();
  simdjson::dom::parser parser;
  std::vector<simdjson::dom::document> docs(t.sent.size());
  std::vector<simdjson::dom::element> values;
  for (size_t i = 0; i < t.sent.size(); ++i) {
    simdjson::dom::element e;
    if (!parser.parse_into_document(docs[i], t.sent[i]).get(e)) values.push_back(e);
  }
  for (auto _ : state) {
    for (const auto& v : values) benchmark::DoNotOptimize(simdjson::to_string(v));
  }
  Count(state, t.sent.size(), t.sent_bytes);
}
BENCHMARK(SerialiseSimdjson);

}  // namespace

BENCHMARK_MAIN();
