// The system's fonts read on a thread of their own while the application starts: whoever
// reaches them first, the UI finds the same fonts.
#include "services/FontManager.h"

#include "StressRounds.h"

#include <QFontDatabase>

#include <functional>

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

// Each round is a fresh process: the configuration is read once per process.
void expectInFreshProcess(const std::function<const char*()>& check)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (int round = 0; round < testing_support::StressRounds(); ++round) {
        EXPECT_EXIT(
            {
                const char* failure = check();
                std::fprintf(stderr, "%s\n", failure ? failure : "");
                std::_Exit(failure ? 1 : 0);
            },
            ::testing::ExitedWithCode(0), "")
            << "round " << round;
    }
}

} // namespace

TEST(FontPreloadTest, TheUiReadingFontsWhileThePreloadRunsFindsThemAll)
{
    expectInFreshProcess([]() -> const char* {
        FontPreload preload;
        // Qt enters the same library at once, as a host that draws text early would.
        if (!QFontDatabase().families().contains(QStringLiteral("DejaVu Sans")))
            return "Qt's font database misses an installed family";
        if (FontManager::instance()->missingFamilies().contains(QStringLiteral("DejaVu Sans")))
            return "the font manager misses an installed family";
        return nullptr;
    });
}

TEST(FontPreloadTest, AHostThatExitsWhileThePreloadRunsExitsCleanly)
{
    // As `--help` does: exit() leaves the guard on the stack, and the thread must not be left
    // running into the process's end.
    expectInFreshProcess([]() -> const char* {
        FontPreload preload;
        std::exit(0);
    });
}
