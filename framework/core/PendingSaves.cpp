#include "core/PendingSaves.h"

#include <cerrno>
#include <map>

namespace {
std::map<const void*, std::function<void()>>& flushes()
{
    static std::map<const void*, std::function<void()>> instance;
    return instance;
}
} // namespace

void PendingSaves::add(const void* owner, std::function<void()> flush)
{
    flushes()[owner] = std::move(flush);
}

void PendingSaves::remove(const void* owner)
{
    flushes().erase(owner);
}

void PendingSaves::flushAll()
{
    const int saved = errno;
    // A flush may remove its owner's entry: run from a copy.
    const auto pending = flushes();
    for (const auto& entry : pending)
        entry.second();
    errno = saved;
}
