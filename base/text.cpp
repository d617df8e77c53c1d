// Texts of others as a terminal and a log can bear them.
#include "base/text.h"

#include <cstdio>
#include <iterator>

namespace vesk {

namespace {

constexpr char32_t kNone = UINT32_MAX;

struct Character {
    char32_t number; ///< kNone: these bytes are no UTF-8.
    size_t size;
};

Character FirstOf(std::string_view text)
{
    constexpr char32_t kLeast[] = {0x80, 0x800, 0x10000}; // by size; less has a shorter form
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80)
        return {lead, 1};
    const size_t size = lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    if (lead < 0xc0 || lead >= 0xf8 || size > text.size())
        return {kNone, 1};
    char32_t number = lead & (0x7fU >> size);
    for (const char c : text.substr(1, size - 1)) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xc0U) != 0x80)
            return {kNone, 1};
        number = number << 6U | (byte & 0x3fU);
    }
    const bool isSurrogate = number >= 0xd800 && number < 0xe000;
    return number < kLeast[size - 2] || number > 0x10ffff || isSurrogate ? Character{kNone, 1}
                                                                         : Character{number, size};
}

/// True for what ends a line, steers a terminal or changes the order in which characters are shown.
bool IsControl(char32_t c)
{
    return c < ' ' || (c >= 0x7f && c < 0xa0) || c == 0x61c || c == 0x200e || c == 0x200f ||
           (c >= 0x2028 && c <= 0x202e) || (c >= 0x2066 && c <= 0x2069);
}

} // namespace

std::string_view TakePrintable(std::string_view& text, Escape& escape)
{
    const auto [number, size] = FirstOf(text);
    const std::string_view first = text.substr(0, size);
    text.remove_prefix(size);
    if (number != kNone && !IsControl(number))
        return first;
    if (number == '\n')
        return "\\n";
    if (number == '\t')
        return "\\t";
    const bool isByte = number == kNone || number < ' ';
    const int length =
        std::snprintf(escape, sizeof escape, isByte ? "\\x%02x" : "\\u%04x",
                      isByte ? static_cast<unsigned char>(first[0]) : static_cast<unsigned>(number));
    return {escape, static_cast<size_t>(length)};
}

std::string Printable(std::string_view text)
{
    std::string printable;
    printable.reserve(text.size());
    Escape escape;
    while (!text.empty()) {
        const auto* const plainEnd =
            std::find_if(text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c >= 0x7f; });
        printable.append(text.begin(), plainEnd);
        text.remove_prefix(static_cast<size_t>(plainEnd - text.begin()));
        if (!text.empty())
            printable += TakePrintable(text, escape);
    }
    return printable;
}

std::string PrintableLines(std::string_view lines)
{
    std::string printable;
    for (;;) {
        const size_t end = lines.find('\n');
        printable += Printable(lines.substr(0, end));
        if (end == lines.npos)
            return printable;
        printable += '\n';
        lines.remove_prefix(end + 1);
    }
}

} // namespace vesk
