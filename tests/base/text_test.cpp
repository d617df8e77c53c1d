// Texts as they are shown.
#include "base/text.h"

#include <gtest/gtest.h>

using vesk::Printable;
using namespace std::string_literals;

TEST(Text, IsShownWithoutWhatSteersATerminal)
{
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {R"(a\b "c" 'd' ~)", R"(a\b "c" 'd' ~)"},
        {"\u00a0\u00fc \u05d0 \u2027\u202f \u2065\u206a \ufffd \U0001f600\U0010ffff",
         "\u00a0\u00fc \u05d0 \u2027\u202f \u2065\u206a \ufffd \U0001f600\U0010ffff"},
        {"\0\x1b]0;x\x07\x1f\x7f"s, R"(\x00\x1b]0;x\x07\x1f\u007f)"},
        {"a\nb\tc\r", R"(a\nb\tc\x0d)"},
        {"\u0080\u009b[2J\u009f", R"(\u0080\u009b[2J\u009f)"},
        {"\u061c\u200e\u200f\u2028\u2029\u202a\u202e\u2066\u2069",
         R"(\u061c\u200e\u200f\u2028\u2029\u202a\u202e\u2066\u2069)"},
        {"\x9b[2J\xff\xfe\x80", R"(\x9b[2J\xff\xfe\x80)"},
        {"\xc2", R"(\xc2)"}, // cut off
        {"\xe2\x82|\xf0\x9f\x98", R"(\xe2\x82|\xf0\x9f\x98)"},
        {"\xc2\x1b\xc3\xc3\xbc", "\\xc2\\x1b\\xc3\u00fc"},
        {"\xc1\x9b \xe0\x80\x9b \xf0\x80\x80\x9b", R"(\xc1\x9b \xe0\x80\x9b \xf0\x80\x80\x9b)"}, // too long
        {"\xed\xa0\x80 \xf4\x90\x80\x80 \xf8", R"(\xed\xa0\x80 \xf4\x90\x80\x80 \xf8)"},
    };
    for (const auto& [text, shown] : rows) {
        EXPECT_EQ(Printable(text), shown);
        EXPECT_EQ(Printable(shown), shown);
        EXPECT_EQ(vesk::PrintableLines('\n' + text + "\n\n"),
                  text.find('\n') == text.npos ? '\n' + shown + "\n\n" : "\na\nb\\tc\\x0d\n\n");
    }
}
