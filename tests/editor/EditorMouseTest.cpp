#include "EditorTest.h"

#include "CMyAnimKnob.h"
#include "CMyOptionMenu.h"
#include "CVUMeter.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#ifdef _WIN32
#include <windows.h>
#else
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace
{
// Drag distances are whole pixels and the knob adds them up exactly: a
// float sum of a few terms stays within 1e-6 of the exact value.
const float dragTolerance = 1e-5f;
}

class EditorMouseTest : public EditorTest
{
protected:
    void SetUp() override
    {
        EditorTest::SetUp();
        openEditor();
        effect->hostCalls.clear();
    }

    // Moves the pointer, giving the editor time to see each step.
    void moveTo(int x, int y)
    {
        desktop->moveMouse(x, y);
        idleFor(15);
    }

    void click(int x, int y)
    {
        moveTo(x, y);
        desktop->pressButton(1);
        idleFor(15);
        desktop->releaseButton(1);
        idleFor(15);
    }

    // A vertical drag from (x, y) by dy pixels in steps of 5.
    void drag(int x, int y, int dy)
    {
        moveTo(x, y);
        desktop->pressButton(1);
        idleFor(15);
        const int step = dy < 0 ? -5 : 5;
        for (int moved = step; std::abs(moved) <= std::abs(dy); moved += step)
        {
            moveTo(x, y + moved);
        }
        desktop->releaseButton(1);
        idleFor(15);
    }

    bool waitForAutomations(size_t count)
    {
        return idleUntil([this, count] { return effect->automations().size() >= count; });
    }

    std::vector<VstInt32> opcodes() const
    {
        std::vector<VstInt32> result;
        for (const TestEffect::HostCall& call : effect->hostCalls)
        {
            result.push_back(call.opcode);
        }
        return result;
    }
};

TEST_F(EditorMouseTest, DraggingAKnobOrAFieldReachesTheHostAsOneAutomatedEditShiftTenTimesFiner)
{
    // The large knob's centre; 40 pixels up is 40/200 of the range.
    drag(255, 265, -40);
    ASSERT_TRUE(waitForAutomations(1));
    const std::vector<TestEffect::HostCall> automations = effect->automations();
    EXPECT_EQ(automations.back().index, 0);
    EXPECT_NEAR(automations.back().value, 0.7f, dragTolerance);
    EXPECT_NEAR(effect->getParameter(0), 0.7f, dragTolerance);
    // The edit is bracketed for the host's undo and automation recording.
    const std::vector<VstInt32> calls = opcodes();
    EXPECT_EQ(calls.front(), audioMasterBeginEdit);
    EXPECT_EQ(calls.back(), audioMasterEndEdit);
    EXPECT_EQ(effect->hostCalls.front().index, 0);
    // The value came back to the knob through the effect, with its text.
    const auto* knob = dynamic_cast<const CMyAnimKnob*>(editor().getControl(0));
    EXPECT_NEAR(knob->getValue(), 0.7f, dragTolerance);
    EXPECT_STREQ(knob->getValueText(), "+8.0dB");

    effect->hostCalls.clear();
    desktop->holdShift(true);
    drag(255, 265, -40);
    desktop->holdShift(false);
    ASSERT_TRUE(waitForAutomations(1));
    EXPECT_NEAR(effect->getParameter(0), 0.72f, dragTolerance);

    // A numeric field drags the same way: "Link" starts at 0.35; 20 pixels
    // down is -0.1.
    effect->hostCalls.clear();
    drag(309, 85, 20);
    ASSERT_TRUE(waitForAutomations(1));
    EXPECT_EQ(effect->automations().back().index, 7);
    EXPECT_NEAR(effect->getParameter(7), 0.25f, dragTolerance);
    EXPECT_STREQ(dynamic_cast<const CMyAnimKnob*>(editor().getControl(7))->getValueText(), "25%");
}

TEST_F(EditorMouseTest, ControlClickRestoresTheDefaultAndTheWheelStepsByTheTaperedIncrement)
{
    effect->setParameter(5, 0.3f);
    moveTo(140, 330);
    desktop->holdControl(true);
    click(140, 330);
    desktop->holdControl(false);
    ASSERT_TRUE(waitForAutomations(1));
    EXPECT_EQ(effect->automations().back().index, 5);
    EXPECT_EQ(effect->getParameter(5), 0.9f);

    // The wheel: "Attack" at 0.04 with taper 0.5, one detent is
    // 0.05 * sqrt(0.04).
    effect->hostCalls.clear();
    moveTo(370, 330);
    desktop->pressButton(4);
    desktop->releaseButton(4);
    ASSERT_TRUE(waitForAutomations(1));
    EXPECT_EQ(effect->automations().back().index, 1);
    EXPECT_NEAR(effect->getParameter(1), 0.05f, 1e-6f);
    EXPECT_EQ(opcodes(), (std::vector<VstInt32>{audioMasterBeginEdit, audioMasterAutomate, audioMasterEndEdit}));
    // And one detent down from there: 0.05 - 0.05 * sqrt(0.05).
    desktop->pressButton(5);
    desktop->releaseButton(5);
    ASSERT_TRUE(waitForAutomations(2));
    EXPECT_NEAR(effect->getParameter(1), 0.05f - 0.05f * std::sqrt(0.05f), 1e-6f);
}

TEST_F(EditorMouseTest, ClickingASwitchTogglesItAndClickingAMeterClearsItsHold)
{
    click(124, 384);
    ASSERT_TRUE(waitForAutomations(1));
    EXPECT_EQ(effect->automations().back().index, 4);
    EXPECT_EQ(effect->automations().back().value, 1.0f);
    click(124, 384);
    ASSERT_TRUE(waitForAutomations(2));
    EXPECT_EQ(effect->automations().back().value, 0.0f);
    EXPECT_EQ(editor().getControl(4)->getValue(), 0.0f);

    // A click on a meter clears its hold and edits nothing.
    effect->hostCalls.clear();
    CVUMeter* peak = editor().getMeter(5);
    effect->outputPeak[0] = 0.5f; // -6.02 dB
    effect->dispatch(effEditIdle);
    effect->outputPeak[0] = 0.1f; // -20 dB
    effect->dispatch(effEditIdle);
    ASSERT_NEAR(peak->getPeakHold(), -6.0206f, 1e-3f);
    click(401, 140);
    // Reset, then the next reading becomes the hold.
    ASSERT_TRUE(idleUntil([peak] { return std::fabs(peak->getPeakHold() + 20.0f) < 1e-3f; }));
    EXPECT_TRUE(effect->automations().empty());
}

TEST_F(EditorMouseTest, ChoosingAMenuEntrySendsItsNormalisedValueAClickOutsideChangesNothing)
{
    auto* scale = dynamic_cast<CMyOptionMenu*>(editor().getControl(6));
    click(420, 248);
    ASSERT_TRUE(idleUntil([scale] { return scale->isOpen(); }));
    // The list opens below the menu: rows of 18 pixels after a 1-pixel
    // border; the third row is "Scale: K14".
    click(420, 258 + 2 * 18 + 9);
    ASSERT_TRUE(waitForAutomations(1));
    EXPECT_FALSE(scale->isOpen());
    EXPECT_EQ(effect->automations().back().index, 6);
    EXPECT_FLOAT_EQ(effect->automations().back().value, 2.0f / 3.0f);
    EXPECT_EQ(scale->getCurrentIndex(), 2);
    EXPECT_EQ(editor().getMeter(5)->getLowerZone(), -14.0f);

    // The word-length menu: "24 bits", the fourth row, is the top value.
    click(202, 151);
    click(202, 161 + 3 * 18 + 9);
    ASSERT_TRUE(waitForAutomations(2));
    EXPECT_EQ(effect->automations().back().index, 11);
    EXPECT_EQ(effect->automations().back().value, 1.0f);

    // A click outside an open list closes it unchanged, and the panel
    // comes back where the list was.
    effect->hostCalls.clear();
    // What the screen shows where the list opens.
    const auto listArea = [this] { return desktop->picture().at(300 * panelWidth + 430); };
    const uint32_t panel = listArea();
    click(420, 248);
    ASSERT_TRUE(idleUntil([scale] { return scale->isOpen(); }));
    EXPECT_TRUE(idleUntil([&] { return listArea() != panel; })) << "no list drawn";
    // Over the "Release" knob, which must not see the click either.
    click(450, 340);
    ASSERT_TRUE(idleUntil([scale] { return !scale->isOpen(); }));
    EXPECT_TRUE(idleUntil([&] { return listArea() == panel; })) << "the list stays on screen";
    EXPECT_TRUE(effect->automations().empty());
    EXPECT_EQ(scale->getCurrentIndex(), 2);
}

// The link button hands the product page to the system, which starts the
// user's browser; a stand-in browser writes down the address it is given.
class LinkButtonTest : public EditorMouseTest
{
protected:
    // Clicks the button and reads what the stand-in wrote into record.
    std::string clickAndReadAddress(const std::string& record)
    {
        click(253, 416);
        std::string address;
        idleUntil([&] {
            std::ifstream file(record);
            return std::getline(file, address) && !file.eof();
        });
        std::remove(record.c_str());
        address.erase(address.find_last_not_of(" \r") + 1);
        return address;
    }
};

#ifdef _WIN32
// The shell runs the command registered for the https scheme. Wine reads
// only the machine's classes, so the stand-in goes there for the test's run;
// skipped where the registry refuses it.
TEST_F(LinkButtonTest, OpensTheProductPageThroughTheShell)
{
    const char* const key = "Software\\Classes\\https\\shell\\open\\command";
    char folder[MAX_PATH];
    ASSERT_GT(GetTempPathA(MAX_PATH, folder), 0u);
    const std::string record = std::string(folder) + "palisorne-opened.txt";
    char browser[2048];
    DWORD browserSize = sizeof browser;
    const std::string standIn = "cmd.exe /c echo %1> \"" + record + "\"";
    if (RegGetValueA(HKEY_LOCAL_MACHINE, key, nullptr, RRF_RT_REG_SZ, nullptr, browser, &browserSize) != ERROR_SUCCESS ||
        RegSetKeyValueA(HKEY_LOCAL_MACHINE, key, nullptr, REG_SZ, standIn.c_str(), DWORD(standIn.size() + 1)) !=
            ERROR_SUCCESS)
    {
        GTEST_SKIP() << "no https command that the test may replace";
    }
    const std::string address = clickAndReadAddress(record);
    RegSetKeyValueA(HKEY_LOCAL_MACHINE, key, nullptr, REG_SZ, browser, browserSize);
    EXPECT_EQ(address, "https://www.virelmatt.com/palisorne");
    EXPECT_TRUE(effect->automations().empty());
}
#else
TEST_F(LinkButtonTest, OpensTheProductPageWithXdgOpen)
{
    // The stand-in is the xdg-open first on PATH.
    char folder[] = "/tmp/palisorne-xdg-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string script = std::string(folder) + "/xdg-open";
    const std::string record = std::string(folder) + "/opened";
    {
        std::ofstream file(script);
        file << "#!/bin/sh\nprintf '%s\\n' \"$1\" > \"" << record << ".tmp\" && mv \"" << record << ".tmp\" \""
             << record << "\"\n";
    }
    chmod(script.c_str(), 0755);
    const std::string path = std::string(folder) + ":" + std::getenv("PATH");
    setenv("PATH", path.c_str(), 1);

    EXPECT_EQ(clickAndReadAddress(record), "https://www.virelmatt.com/palisorne");
    EXPECT_TRUE(effect->automations().empty());
    std::remove(script.c_str());
    rmdir(folder);
}
#endif
