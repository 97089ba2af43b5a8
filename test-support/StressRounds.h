#pragma once

#include <cstdlib>

namespace testing_support {

// How often a stress test repeats its fault: VEXOR_STRESS_ROUNDS, or a quick 10.
inline int StressRounds()
{
    const char* n = std::getenv("VEXOR_STRESS_ROUNDS");
    return n && std::atoi(n) > 0 ? std::atoi(n) : 10;
}

} // namespace testing_support
