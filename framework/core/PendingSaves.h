#pragma once

#include "OrvaneExport.h"

#include <functional>

// Saves that are deferred to a later turn of the loop register here, so that a process that
// must end at once (exit, not a return from the loop) can still write them first. UI thread.
class ORVANE_EXPORT PendingSaves {
public:
    // One flush per owner; the owner removes it before it goes.
    static void add(const void* owner, std::function<void()> flush);
    static void remove(const void* owner);
    // Runs every flush; errno is as before, for a perror that follows.
    static void flushAll();
};
