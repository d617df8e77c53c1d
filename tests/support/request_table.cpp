#include "support/request_table.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>

using vesk::messages::HeaderField;

namespace {

const std::map<std::string, std::string> kCommonLines = {
    {"start", "T3 {%m start}\n"},
    {"end", "T3 {%m msg[0]}\n"},
    {"unended", "T3 {%m msg[0]}"},
    {"entry", "T3 %s %m\n"},
    {"function", "B1 %s failed[%d]."},
    {"message", "B1 %m fail[%d]."},
    {"invalid", "L1 [Send Msg Fail!] retVal is Invalid![0x%d][0x0]"},
};

struct Announced {
    const char* source;
    const char* form;
    Rows (*rows)();
};

/// The families, before main.
std::vector<Announced>& Families()
{
    static std::vector<Announced> s_families;
    return s_families;
}

void Replace(std::string& text, const std::string& what, const std::string& with)
{
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

} // namespace

Bytes Pattern(size_t size, unsigned seed)
{
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::byte>(i * 7 + seed);
    return bytes;
}

Family::Family(const char* source, const char* form, Rows (*rows)())
{
    Families().push_back({source, form, rows});
}

Row Row::Sends(std::initializer_list<uint64_t> header, std::string lines, Bytes sent, Bytes filled)
{
    uint64_t field[3] = {}; // ulParam1, ulParam2, uwSubMsgID
    std::ranges::copy(header, field);
    head = {0, head.msgId, uint16_t(field[2]), field[0], uint32_t(field[1]), 0};
    steps = lines;
    payload = sent.empty() ? payload : sent;
    answer = filled.empty() ? answer : filled;
    return *this;
}

Lines Expand(const std::string& steps, const std::string& function, const std::string& message,
             const std::string& source, uint32_t result)
{
    Lines lines;
    std::istringstream stream(steps);
    for (std::string line; std::getline(stream, line, '|');) {
        if (const auto common = kCommonLines.find(line); common != kCommonLines.end())
            line = common->second;
        Replace(line, "{", "#####send ");
        Replace(line, "}", "#####");
        Replace(line, "%s", function);
        Replace(line, "%m", message);
        Replace(line, "%d", std::to_string(result));
        for (const auto& [sink, origin] : {std::pair('T', function), {'L', source}}) {
            if (line[0] == sink || line[0] == 'B')
                lines.push_back(sink + line.substr(1, 2) + origin + line.substr(2));
        }
    }
    return lines;
}

void Row::Drive() const
{
    SCOPED_TRACE(function + ": " + steps);
    EXPECT_EQ(head.msgId, listed.number);
    EXPECT_EQ(listed.function, function);
    std::string lines, end, failure;
    uint32_t failed = 9;
    int nulled = 0;
    std::istringstream stream(steps);
    for (std::string step; std::getline(stream, step, '|');) {
        const std::string rest = step.substr(1);
        const auto result = uint32_t(rest[0] - '0');
        if (step[0] == '?') {
            const std::string what = rest.size() == 1 ? form : rest.substr(2);
            const bool isName = rest.size() > 1 && what[0] != 'L';
            Call(nulled++, result, result, lines + (isName ? "L1 %s: " + what + " is NULL!" : what), false);
        } else if (step[0] == '=') {
            failed = result;
        } else if (step[0] == '>' || step[0] == '!') {
            (step[0] == '>' ? end : failure) += rest + '|';
        } else {
            lines += step + '|';
        }
    }
    if (refusal != 0)
        return Call(-1, refusal, refusal, lines, false);
    Call(-1, 0, 0, lines + (end.empty() ? "end" : end), true);
    Call(-1, 9, failed, lines + (failure.empty() ? form : failure), true);
}

void Row::Call(int nulled, uint32_t result, uint32_t returned, const std::string& lines, bool isSent) const
{
    SCOPED_TRACE("result " + std::to_string(result) + ", null argument " + std::to_string(nulled));
    const bool isFilled = isSent && result == 0 && !answer.empty();
    Reset(static_cast<uint16_t>(result), isFilled ? answer : Bytes());
    *room = given;
    EXPECT_EQ(call(nulled), returned);
    EXPECT_EQ(RequestLines(), Expand(lines, function, listed.name, source, result));
    EXPECT_EQ(Get().unreleased, 0);
    EXPECT_EQ(*room, isFilled ? answer : given);
    ASSERT_EQ(Get().sent.size(), isSent ? 1U : 0U);
    for (const Sent& sent : Get().sent) {
        EXPECT_EQ(sent.timeout, listed.answer.kind == vesk::messages::Kind::kUnanswered ? 0U : 5000U);
        EXPECT_EQ(sent.envelope.msgId, head.msgId);
        EXPECT_EQ(sent.data, Block(head, payload));
    }
}

TEST(Requests, EachOverItsRow)
{
    std::map<uint32_t, VeskVideoMsgHead> sent; // what the rows of a request have sent in its header, together
    for (const Announced& family : Families()) {
        Rows rows = family.rows();
        for (Row& row : rows) {
            row.source = family.source, row.form = family.form;
            row.Drive();
            VeskVideoMsgHead& head = sent[row.listed.number];
            head.uwSubMsgID |= row.head.uwSubMsgID;
            head.ulParam1 |= row.head.ulParam1, head.ulParam2 |= row.head.ulParam2;
        }
    }
    // These have tests of their own.
    std::set<uint32_t> tested{VESK_VIDEO_MSG_INIT, VESK_VIDEO_MSG_CREATE_QUEUE,
                              VESK_VIDEO_MSG_GET_VI_QUE_HANDLE, VESK_VIDEO_MSG_SET_ENC_FEC_PARAM};
    for (const auto& request : vesk::messages::kRequests) {
        if (tested.contains(request.number))
            continue;
        EXPECT_TRUE(sent.contains(request.number))
            << request.name << " has no row in the table of its family";
        for (const auto field : {HeaderField::kSubMsgID, HeaderField::kParam1, HeaderField::kParam2})
            EXPECT_EQ(ValueOf(sent[request.number], field) != 0, request.At(field).IsUsed())
                << request.name << ": its rows must send " << request.At(field).text << " and nothing else";
    }
}
