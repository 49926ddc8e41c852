#include "EditorTest.h"

#include "CMyAnimKnob.h"
#include "CXErrorGuard.h"

#include <X11/Xlib.h>

#include <atomic>
#include <thread>
#include <tuple>

namespace
{
// Stands for the host's own X error handler while it exists: counts.
class HostErrorHandler
{
public:
    HostErrorHandler() : previous(XSetErrorHandler(countError)) { errors = 0; }
    ~HostErrorHandler() { XSetErrorHandler(previous); }
    int count() const { return errors.load(); }

private:
    static int countError(Display*, XErrorEvent*)
    {
        ++errors;
        return 0;
    }
    static std::atomic<int> errors;
    XErrorHandler previous;
};
std::atomic<int> HostErrorHandler::errors(0);

// Open/close cycles; the sanitizer build runs the same count under
// AddressSanitizer and LeakSanitizer.
const int openCloseCycles = 200;
}

TEST_F(EditorTest, TwoInstancesAreOpenAtOnce)
{
    TestDesktop otherDesktop(panelWidth, panelHeight);
    TestEffect other;
    openEditor();
    ASSERT_EQ(other.dispatch(effEditOpen, 0, 0, otherDesktop.getParentHandle()), 1);
    other.setParameter(0, 1.0f);
    effect->setParameter(0, 0.0f);
    for (int i = 0; i < 20; ++i)
    {
        effect->dispatch(effEditIdle);
        other.dispatch(effEditIdle);
    }
    EXPECT_STREQ(dynamic_cast<const CMyAnimKnob*>(other.getEditorObject()->getControl(0))->getValueText(), "+20.0dB");
    EXPECT_STREQ(dynamic_cast<const CMyAnimKnob*>(editor().getControl(0))->getValueText(), "-20.0dB");
    ASSERT_TRUE(idleUntil([&] {
        other.dispatch(effEditIdle);
        return otherDesktop.isViewable(otherDesktop.findEditorWindow());
    }));
    other.dispatch(effEditClose);
    // The first one carries on alone.
    effect->setParameter(0, 0.5f);
    idleFor(20);
    EXPECT_STREQ(dynamic_cast<const CMyAnimKnob*>(editor().getControl(0))->getValueText(), "+0.0dB");
    closeEditor();
}

TEST_F(EditorTest, SurvivesTheHostDestroyingTheParentBeforeClosing)
{
    openEditor();
    const unsigned long dropped = CXErrorGuard::getDroppedErrors();
    desktop->destroyParent();
    // The editor's window went with its parent: idling and closing now make
    // X errors on the editor's connection, which must not end the process.
    idleFor(50);
    effect->setParameter(0, 0.7f);
    closeEditor();
    EXPECT_FALSE(editor().isOpen());
    EXPECT_GT(CXErrorGuard::getDroppedErrors(), dropped);

    // And the editor opens again in a new parent.
    desktop.reset(new TestDesktop(panelWidth, panelHeight));
    openEditor();
    closeEditor();
}

TEST(XErrorGuardTest, DropsErrorsOnItsThreadAndForwardsTheRestToTheHostsHandler)
{
    TestDesktop desktop(16, 16);
    ASSERT_TRUE(desktop.isConnected());
    const HostErrorHandler host;
    desktop.makeFailingRequest();
    EXPECT_EQ(host.count(), 1);
    {
        const CXErrorGuard guard;
        const unsigned long dropped = CXErrorGuard::getDroppedErrors();
        desktop.makeFailingRequest();
        EXPECT_EQ(CXErrorGuard::getDroppedErrors(), dropped + 1);
        EXPECT_EQ(host.count(), 1);
        // Another thread's error is not the guard's business.
        std::thread other([] {
            TestDesktop otherDesktop(16, 16);
            otherDesktop.makeFailingRequest();
        });
        other.join();
        EXPECT_EQ(host.count(), 2);
        EXPECT_EQ(CXErrorGuard::getDroppedErrors(), dropped + 1);
    }
    // Gone: the host's handler is back in charge.
    desktop.makeFailingRequest();
    EXPECT_EQ(host.count(), 3);
}

TEST_F(EditorTest, OpensA506By427WindowTwoHundredTimesThenShowsTheLatestValues)
{
    // The host learns the size before anything is open.
    ERect* rect = nullptr;
    ASSERT_EQ(effect->dispatch(effEditGetRect, 0, 0, &rect), 1);
    EXPECT_EQ(std::make_tuple(rect->left, rect->top, rect->right, rect->bottom), std::make_tuple(0, 0, 506, 427));
    EXPECT_EQ(editor().getCFrame(), nullptr);
    for (int cycle = 0; cycle < openCloseCycles; ++cycle)
    {
        ASSERT_EQ(effect->dispatch(effEditOpen, 0, 0, desktop->getParentHandle()), 1) << cycle;
        // Let it handle its first events and paint, as a host's idle would.
        for (int i = 0; i < 3; ++i)
        {
            effect->dispatch(effEditIdle);
        }
        effect->setParameter(cycle % kNumParameters, 0.5f);
        closeEditor();
        ASSERT_FALSE(editor().isOpen()) << cycle;
    }
    // Closed: every view is forgotten, and changes and idle calls, even
    // for indices outside the table, reach nothing.
    EXPECT_EQ(desktop->findEditorWindow(), 0u);
    EXPECT_EQ(editor().getCFrame(), nullptr);
    EXPECT_EQ(editor().getFrame(), nullptr);
    EXPECT_EQ(editor().getLinkButton(), nullptr);
    EXPECT_EQ(editor().getControl(0), nullptr);
    EXPECT_EQ(editor().getMeter(0), nullptr);
    for (int index = -1; index <= kNumParameters; ++index)
    {
        effect->setParameter(index, 0.3f);
    }
    effect->dispatch(effEditIdle);
    // A change while closed is shown on the next opening.
    effect->setParameter(0, 0.25f);
    openEditor();
    int width = 0;
    int height = 0;
    ASSERT_TRUE(desktop->getWindowSize(desktop->findEditorWindow(), width, height));
    EXPECT_EQ(std::make_tuple(width, height), std::make_tuple(506, 427));
    EXPECT_EQ(editor().getCFrame()->getNativeWindow(), desktop->findEditorWindow());
    const auto* gain = dynamic_cast<const CMyAnimKnob*>(editor().getControl(0));
    ASSERT_NE(gain, nullptr);
    EXPECT_EQ(gain->getValue(), 0.25f);
    EXPECT_STREQ(gain->getValueText(), "-10.0dB");
    closeEditor();
}
