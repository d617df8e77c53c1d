#include "support/request_table.h"

#include <gtest/gtest.h>

#include <set>

using namespace recording;
using vesk::messages::HeaderField;

namespace request_table {

namespace {

struct Table {
    std::string source;
    FailureForm form;
    std::function<Rows()> rows;
};

/// What the families have announced before main, and what their rows have covered.
struct Coverage {
    std::vector<Table> tables;
    std::set<uint32_t> withOwnTest;
    std::set<uint32_t> withRow;
    std::set<std::pair<uint32_t, HeaderField>> travelled; // header fields that carried something
};

Coverage& TheCoverage()
{
    static Coverage coverage;
    return coverage;
}

constexpr HeaderField kFields[] = {HeaderField::kSubMsgID, HeaderField::kParam1, HeaderField::kParam2};

Lines operator+(Lines lines, const Lines& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
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

Bytes Text(const std::string& text)
{
    const auto* begin = reinterpret_cast<const std::byte*>(text.c_str());
    return Bytes(begin, begin + text.size() + 1);
}

Row&& Row::Head(uint64_t param1, uint32_t param2, uint16_t sub) &&
{
    head_ = {0, head_.msgId, sub, param1, param2, 0};
    return std::move(*this);
}

Row&& Row::AddNull(uint32_t result, Lines lines, bool endsWithFailure)
{
    refusals_.push_back({withNull_.at(nextNull_++), result, before_ + lines, endsWithFailure});
    return std::move(*this);
}

Row&& Row::Null(const std::string& argument, uint32_t result) &&
{
    return AddNull(result, {"L1 %s: " + argument + " is NULL!"}, false);
}

Row&& Row::NullIs(const std::string& line, uint32_t result) &&
{
    return AddNull(result, {line}, false);
}

Row&& Row::NullFails(uint32_t result) &&
{
    return AddNull(result, {}, true);
}

Row&& Row::Refuses(uint32_t result, Lines lines, Call call) &&
{
    refusals_.push_back({std::move(call), result, before_ + lines, lines.empty()});
    return std::move(*this);
}

Lines Row::FailureLines(uint32_t code) const
{
    if (hasOwnFailure_)
        return failure_;
    const std::string number = std::to_string(code);
    if (form_ == FailureForm::kSendInvalid)
        return {"L1 [Send Msg Fail!] retVal is Invalid![0x" + number + "][0x0]"};
    const std::string text =
        form_ == FailureForm::kFunction ? "%s failed[" + number + "]." : "%m fail[" + number + "].";
    return {"T1 " + text, "L1 " + text};
}

Lines Row::Whole(const Lines& lines, const std::string& source) const
{
    Lines whole = lines;
    for (std::string& line : whole) {
        line.insert(3, (line[0] == 'T' ? function_ : source) + ' ');
        Replace(line, "%s", function_);
        Replace(line, "%m", message_);
    }
    return whole;
}

void Row::CheckAgainstList() const
{
    const auto* listed = vesk::messages::FindRequest(head_.msgId);
    ASSERT_NE(listed, nullptr);
    EXPECT_EQ(listedNumber_, head_.msgId);
    EXPECT_EQ(listed->name, message_);
    EXPECT_EQ(listed->function, function_);
    TheCoverage().withRow.insert(head_.msgId);
    for (const HeaderField field : kFields) {
        if (ValueOf(head_, field) == 0)
            continue;
        EXPECT_TRUE(listed->At(field).IsUsed()) << "a header field travels that the list does not name";
        TheCoverage().travelled.emplace(head_.msgId, field);
    }
}

void Row::DriveAnswer(uint16_t code, const std::string& source)
{
    SCOPED_TRACE("the service answers " + std::to_string(code));
    Reset();
    if (buffer_ != nullptr && !before_call_.empty())
        *buffer_ = before_call_;
    Get().asynResult = code;
    Get().answer = [&](const Sent&) {
        return recording::Answer{0, AnswerBytes(code, code == 0 ? answer_ : Bytes())};
    };
    EXPECT_EQ(call_(), code == 0 ? 0 : failedResult_);
    ASSERT_EQ(Get().sent.size(), 1U);
    EXPECT_EQ(Get().sent[0].isSynchronous, !isAsynchronous_);
    EXPECT_EQ(Get().sent[0].envelope.msgId, head_.msgId);
    EXPECT_EQ(Get().sent[0].envelope.dataLen, sizeof head_ + payload_.size());
    EXPECT_EQ(BytesOf(Get().sent[0].Head()), BytesOf(head_));
    EXPECT_EQ(Get().sent[0].Payload(), payload_);
    if (!before_call_.empty()) {
        EXPECT_EQ(*buffer_, code == 0 ? answer_ : before_call_);
    }
    const Lines after = code == 0 ? end_ : failsFirst_ + FailureLines(code);
    EXPECT_EQ(RequestLines(), Whole(before_ + after, source));
    EXPECT_EQ(Get().unreleased, 0);
}

void Row::Drive(const std::string& source, FailureForm familyForm)
{
    SCOPED_TRACE(function_);
    if (!hasOwnForm_)
        form_ = familyForm;
    CheckAgainstList();
    DriveAnswer(0, source);
    DriveAnswer(9, source);
    for (const Refusal& refusal : refusals_) {
        Reset();
        EXPECT_EQ(refusal.call(), refusal.result);
        EXPECT_TRUE(Get().sent.empty());
        const Lines after = refusal.endsWithFailure ? FailureLines(refusal.result) : Lines();
        EXPECT_EQ(RequestLines(), Whole(refusal.lines + after, source));
    }
}

Family::Family(std::string source, FailureForm form, std::function<Rows()> rows)
{
    TheCoverage().tables.push_back({std::move(source), form, std::move(rows)});
}

HasOwnTest::HasOwnTest(VeskVideoRequest request)
{
    TheCoverage().withOwnTest.insert(request);
}

} // namespace request_table

using namespace request_table;

TEST(Requests, EachOverItsRow)
{
    for (const auto& table : TheCoverage().tables) {
        for (Row& row : table.rows())
            row.Drive(table.source, table.form);
    }
    for (const auto& request : vesk::messages::kRequests) {
        if (TheCoverage().withOwnTest.contains(request.number))
            continue;
        if (!TheCoverage().withRow.contains(request.number)) {
            ADD_FAILURE() << request.name << " has no row in the table of its family";
            continue;
        }
        for (const HeaderField field : kFields) {
            if (request.At(field).IsUsed() && !TheCoverage().travelled.contains({request.number, field}))
                ADD_FAILURE() << request.name << ": no row sends " << request.At(field).text;
        }
    }
}
