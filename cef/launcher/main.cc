// Starts the real Chromium binary with the engine's switches. The DevTools pipe (fds 3 and 4)
// passes through exec untouched.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

int main(int argc, char** argv) {
  const char* env = std::getenv("VEXOR_CHROMIUM_BINARY");
  std::string binary = env && *env ? env : "/usr/lib/chromium/chromium";
  std::vector<std::string> args;
  args.push_back(binary);
  bool has_no_sandbox = false;
  for (int i = 1; i < argc; ++i) {
    args.push_back(argv[i]);
    if (std::strcmp(argv[i], "--no-sandbox") == 0) has_no_sandbox = true;
  }
  // Chromium refuses to run as root with its sandbox; anyone else keeps it.
  if (geteuid() == 0 && !has_no_sandbox) args.push_back("--no-sandbox");
  std::vector<char*> cargv;
  for (auto& a : args) cargv.push_back(const_cast<char*>(a.c_str()));
  cargv.push_back(nullptr);
  execv(binary.c_str(), cargv.data());
  std::fprintf(stderr, "vexor-cef-launcher: cannot run %s: %s\n", binary.c_str(),
               std::strerror(errno));
  return 127;
}
