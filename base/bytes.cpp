// Bytes as hexadecimal text and back.
#include "base/bytes.h"

#include "base/error.h"
#include "vesk_video/message.h"

#include <algorithm>
#include <charconv>

namespace vesk {

namespace {

constexpr std::ptrdiff_t kShortestRun = 8;

int Digit(char c)
{
    constexpr std::string_view kDigits = "0123456789abcdefABCDEF";
    const size_t at = kDigits.find(c);
    return at == kDigits.npos ? -1 : static_cast<int>(at < 16 ? at : at - 6);
}

/// Takes one byte, two digits, from the start of @p text.
std::byte TakeByte(std::string_view& text)
{
    const int high = text.empty() ? -1 : Digit(text[0]);
    const int low = text.size() < 2 ? -1 : Digit(text[1]);
    if (high < 0 || low < 0)
        throw Error("'" + std::string(text.substr(0, 16)) + "': expected bytes of two hexadecimal digits");
    text.remove_prefix(2);
    return static_cast<std::byte>(high * 16 + low);
}

/// Takes "00*63)" from the start of @p text.
void TakeRun(std::string_view& text, Bytes& bytes)
{
    const std::byte value = TakeByte(text);
    size_t count = 0;
    const char* end = text.data() + text.size();
    if (text.starts_with('*')) {
        const auto [stop, error] = std::from_chars(text.data() + 1, end, count);
        if (error == std::errc() && stop != end && *stop == ')' &&
            count <=
                VESK_VIDEO_MAX_MESSAGE_SIZE - std::min<size_t>(bytes.size(), VESK_VIDEO_MAX_MESSAGE_SIZE)) {
            bytes.insert(bytes.end(), count, value);
            text.remove_prefix(static_cast<size_t>(stop + 1 - text.data()));
            return;
        }
    }
    throw Error("'" + std::string(text.substr(0, 16)) + "': expected a repetition such as (00*16)");
}

} // namespace

std::string Hex(BytesView bytes)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::byte byte : bytes) {
        text += kDigits[std::to_integer<unsigned>(byte) >> 4];
        text += kDigits[std::to_integer<unsigned>(byte) & 15];
    }
    return text;
}

std::string FoldedHex(BytesView bytes)
{
    std::string text;
    for (auto at = bytes.begin(); at != bytes.end();) {
        const auto end = std::find_if(at, bytes.end(), [&](std::byte byte) { return byte != *at; });
        if (end - at >= kShortestRun)
            text += '(' + Hex({at, at + 1}) + '*' + std::to_string(end - at) + ')';
        else
            text += Hex({at, end});
        at = end;
    }
    return text;
}

Bytes ParseHex(std::string_view text)
{
    Bytes bytes;
    if (text.starts_with("0x"))
        text.remove_prefix(2);
    while (!text.empty()) {
        if (text[0] == ' ') {
            text.remove_prefix(1);
        } else if (text[0] == '(') {
            text.remove_prefix(1);
            TakeRun(text, bytes);
        } else {
            bytes.push_back(TakeByte(text));
        }
    }
    return bytes;
}

} // namespace vesk
