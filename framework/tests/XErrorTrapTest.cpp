#include "core/Logger.h"
#include "services/X11Utils.h"
#include "services/XErrorTrap.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <thread>

// After gtest: Xlib's macros (None, Bool) break its headers.
#include <X11/Xlib.h>

namespace {

// The program's own handler, installed before the framework's first trap as a host would:
// errors of connections no trap watches belong to it.
std::atomic<int> gProgramErrors{0};
std::atomic<Display*> gProgramErrorDisplay{nullptr};

int programHandler(Display* display, XErrorEvent*)
{
    gProgramErrorDisplay = display;
    ++gProgramErrors;
    return 0;
}

class ProgramHandlerFirst : public ::testing::Environment {
public:
    void SetUp() override { XSetErrorHandler(programHandler); }
};
const auto* const gEnvironment = ::testing::AddGlobalTestEnvironment(new ProgramHandlerFirst);

class Connection {
public:
    Connection()
        : mDisplay(XOpenDisplay(nullptr))
    {
    }
    ~Connection()
    {
        if (mDisplay)
            XCloseDisplay(mDisplay);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    Display* display() const { return mDisplay; }
    // An id of this connection that names no window any more: requests on it fail.
    Window goneWindow()
    {
        const Window window = XCreateSimpleWindow(mDisplay, DefaultRootWindow(mDisplay), 0, 0, 1, 1, 0, 0, 0);
        XDestroyWindow(mDisplay, window);
        XSync(mDisplay, False);
        return window;
    }
    void failWithBadWindow() { XMapWindow(mDisplay, goneWindow()); }
    void failWithBadPixmap() { XFreePixmap(mDisplay, goneWindow()); }
    void failWithBadColor() { XFreeColormap(mDisplay, goneWindow()); }
    void failWithBadCursor() { XFreeCursor(mDisplay, goneWindow()); }

private:
    Display* mDisplay;
};

class XErrorTrapTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!ui.display())
            GTEST_SKIP() << "no X display";
        mProgramErrors = gProgramErrors;
    }
    int newProgramErrors() const { return gProgramErrors - mProgramErrors; }

    Connection ui;

private:
    int mProgramErrors = 0;
};

} // namespace

TEST_F(XErrorTrapTest, ATrapOpenAcrossX11UtilsFirstUseStillSeesItsErrors)
{
    CapturingLogSink log;
    XErrorTrap trap(ui.display());

    // X11Utils talks on a connection of its own; its failure is its own to report.
    const Window gone = ui.goneWindow();
    X11Utils::lowerWindow(gone);
    EXPECT_TRUE(log.contains("WARN", QString("X11Utils: lower failed for window %1 error %2").arg(gone).arg(BadWindow)))
        << log.lines().join('\n').toStdString();
    EXPECT_EQ(trap.sync(), 0);

    ui.failWithBadWindow();
    EXPECT_EQ(trap.sync(), BadWindow);
    EXPECT_EQ(newProgramErrors(), 0);
}

TEST_F(XErrorTrapTest, ErrorsOfConnectionsNoTrapWatchesReachTheProgramsHandler)
{
    Connection unwatched;
    {
        XErrorTrap trap(ui.display());
        // Nor does X11Utils, used for the first time, take the program's place.
        X11Utils::lowerWindow(unwatched.goneWindow());
        unwatched.failWithBadWindow();
        XSync(unwatched.display(), False);
        EXPECT_EQ(newProgramErrors(), 1);
        EXPECT_EQ(gProgramErrorDisplay, unwatched.display());
        EXPECT_EQ(trap.sync(), 0);
    }
    // A connection is watched only while its trap lives.
    ui.failWithBadWindow();
    XSync(ui.display(), False);
    EXPECT_EQ(newProgramErrors(), 2);
    EXPECT_EQ(gProgramErrorDisplay, ui.display());
}

TEST_F(XErrorTrapTest, TrapsOfTwoThreadsEachSeeOnlyTheErrorsOfTheirOwnConnections)
{
    Connection& outer = ui;
    Connection inner;
    std::promise<void> mainOpened, otherOpened, mainClosed;
    int otherOuterError = -1;
    int otherInnerError = -1;

    // The other thread opens its traps after this one and still uses them once this one's
    // outermost trap has ended.
    std::thread other([&] {
        Connection otherOuter;
        Connection otherInner;
        mainOpened.get_future().wait();
        XErrorTrap outerTrap(otherOuter.display());
        XErrorTrap innerTrap(otherInner.display());
        otherOpened.set_value();
        mainClosed.get_future().wait();
        otherOuter.failWithBadColor();
        otherInner.failWithBadCursor();
        otherInnerError = innerTrap.sync();
        otherOuterError = outerTrap.sync();
    });
    {
        XErrorTrap outerTrap(outer.display());
        XErrorTrap innerTrap(inner.display());
        mainOpened.set_value();
        otherOpened.get_future().wait();
        outer.failWithBadWindow();
        inner.failWithBadPixmap();
        EXPECT_EQ(innerTrap.sync(), BadPixmap);
        EXPECT_EQ(outerTrap.sync(), BadWindow);
    }
    mainClosed.set_value();
    other.join();

    EXPECT_EQ(otherOuterError, BadColor);
    EXPECT_EQ(otherInnerError, BadCursor);
    EXPECT_EQ(newProgramErrors(), 0);
}

TEST_F(XErrorTrapTest, NestedTrapsOfOneConnectionReportToTheInnermost)
{
    XErrorTrap outerTrap(ui.display());
    {
        XErrorTrap innerTrap(ui.display());
        ui.failWithBadWindow();
        ui.failWithBadPixmap();
        EXPECT_EQ(innerTrap.sync(), BadWindow) << "the first error is the one reported";
    }
    EXPECT_EQ(outerTrap.sync(), 0);
    ui.failWithBadColor();
    EXPECT_EQ(outerTrap.sync(), BadColor);
}
