#pragma once

#include "CControl.h"
#include "CControlListener.h"

#include <string>
#include <vector>

// Writes down what a control tells its listener, in order: "begin",
// "value <v>" and "end".
class RecordingListener : public CControlListener
{
public:
    struct Event
    {
        std::string kind;
        float value;
    };

    void valueChanged(CControl* control) override { events.push_back({"value", control->getValue()}); }
    void controlBeginEdit(CControl*) override { events.push_back({"begin", 0.0f}); }
    void controlEndEdit(CControl*) override { events.push_back({"end", 0.0f}); }

    std::vector<std::string> kinds() const
    {
        std::vector<std::string> result;
        for (const Event& event : events)
        {
            result.push_back(event.kind);
        }
        return result;
    }

    std::vector<Event> events;
};
