#include "EditorTest.h"

#include "CMyAnimKnob.h"
#include "CXErrorGuard.h"

#include <tuple>

namespace
{
// Open/close cycles; the sanitizer build runs the same count under
// AddressSanitizer and LeakSanitizer. Wine has no leak checker and takes a
// quarter of a second per cycle: fewer there.
#ifdef _WIN32
const int openCloseCycles = 20;
#else
const int openCloseCycles = 200;
#endif
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
    [[maybe_unused]] const unsigned long dropped = CXErrorGuard::getDroppedErrors();
    desktop->destroyParent();
    // The editor's window went with its parent: idling and closing now
    // fail, which must not end the process.
    idleFor(50);
    effect->setParameter(0, 0.7f);
    closeEditor();
    EXPECT_FALSE(editor().isOpen());
#ifndef _WIN32
    // X reports them later, as errors on the editor's connection; Win32
    // calls just fail.
    EXPECT_GT(CXErrorGuard::getDroppedErrors(), dropped);
#endif

    // And the editor opens again in a new parent.
    desktop.reset(new TestDesktop(panelWidth, panelHeight));
    openEditor();
    closeEditor();
}

TEST_F(EditorTest, OpensA506By427WindowAgainAndAgainThenShowsTheLatestValues)
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
            desktop->handleEvents();
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
