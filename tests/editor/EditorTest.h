#pragma once

#include "CFrame.h"
#include "TestDesktop.h"
#include "TestEffect.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>

// An effect with its editor and a parent window on the tests' desktop.
// Helpers open the editor through the dispatcher, as a host does, and run
// the host's idle and event loop until something has happened.
class EditorTest : public ::testing::Test
{
protected:
    static constexpr int panelWidth = 506;
    static constexpr int panelHeight = 427;

    void SetUp() override
    {
        desktop.reset(new TestDesktop(panelWidth, panelHeight));
        ASSERT_TRUE(desktop->isConnected()) << "no desktop";
        effect.reset(new TestEffect);
    }

    void TearDown() override
    {
        effect.reset();
        desktop.reset();
    }

    CMyVSTEditor& editor() { return *effect->getEditorObject(); }

    // Opens the editor in the parent and waits until its window is on
    // screen and has been painted once.
    void openEditor()
    {
        ASSERT_EQ(effect->dispatch(effEditOpen, 0, 0, desktop->getParentHandle()), 1);
        ASSERT_TRUE(idleUntil([this] {
            const uintptr_t window = desktop->findEditorWindow();
            return window != 0 && desktop->isViewable(window) && editor().getCFrame() &&
                   editor().getCFrame()->getPaintCount() > 0;
        })) << "the editor window never appeared";
    }

    void closeEditor() { effect->dispatch(effEditClose); }

    // Host idle calls (effEditIdle) and events about every 2 ms until the
    // condition holds; false after the time-out.
    template <class Condition>
    bool idleUntil(Condition condition, int timeoutMs = 5000)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        while (std::chrono::steady_clock::now() < end)
        {
            effect->dispatch(effEditIdle);
            desktop->handleEvents();
            if (condition())
            {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return false;
    }

    // A few idle calls, for events that may take a round trip to arrive.
    void idleFor(int milliseconds)
    {
        idleUntil([] { return false; }, milliseconds);
    }

    std::unique_ptr<TestDesktop> desktop;
    std::unique_ptr<TestEffect> effect;
};
