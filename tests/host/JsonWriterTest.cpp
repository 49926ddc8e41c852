#include "JsonWriter.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <limits>
#include <sstream>

namespace
{
std::string textOf(const std::function<void(JsonWriter&)>& write)
{
    std::ostringstream text;
    JsonWriter json(text);
    write(json);
    return text.str();
}
}

// What a plug-in may hand over: control characters, quotes, invalid UTF-8
// (which becomes U+FFFD), and figures that are not finite (which become null).
TEST(JsonWriter, EscapesReplacesInvalidUtf8AndWritesNonFiniteNumbersAsNull)
{
    const std::string tricky = std::string("say \"hi\"\\ now\n\ttab\x01") + "\x7f";
    const std::string umlauts = "Gr\xc3\xbc\xc3\x9f\x65 \xe2\x82\xac \xf0\x9f\x8e\xb5";
    const nlohmann::json document = nlohmann::json::parse(textOf(
        [&](JsonWriter& json)
        {
            json.beginObject();
            json.key(tricky);
            json.value(tricky);
            json.key("umlauts");
            json.value(umlauts);
            json.key("broken");
            json.value(std::string("bad \xff byte, cut \xc3"));
            json.key("overlong");
            json.value(std::string("\xc0\xaf"));
            json.key("numbers");
            json.beginArray();
            json.value(-23.0123456789);
            json.value(1e-12);
            json.value(-std::numeric_limits<double>::infinity());
            json.value(std::numeric_limits<double>::quiet_NaN());
            json.endArray();
            json.endObject();
        }));
    EXPECT_EQ(document[tricky], tricky);
    EXPECT_EQ(document["umlauts"], umlauts);
    EXPECT_EQ(document["broken"], "bad \xef\xbf\xbd byte, cut \xef\xbf\xbd");
    EXPECT_EQ(document["overlong"], "\xef\xbf\xbd\xef\xbf\xbd");
    // %.10g keeps ten significant digits: the relative error is below 5e-10.
    EXPECT_NEAR(document["numbers"][0].get<double>(), -23.0123456789, 23.0 * 5e-10);
    EXPECT_NEAR(document["numbers"][1].get<double>(), 1e-12, 1e-21);
    EXPECT_TRUE(document["numbers"][2].is_null());
    EXPECT_TRUE(document["numbers"][3].is_null());
}

TEST(JsonWriter, EmptyContainersAtTopLevelEndWithANewline)
{
    EXPECT_EQ(textOf([](JsonWriter& json) { json.beginObject(); json.endObject(); }), "{}\n");
    EXPECT_EQ(textOf([](JsonWriter& json) { json.beginArray(); json.endArray(); }), "[]\n");
}
