#include "interface/request_table.h"

#include <gtest/gtest.h>

using namespace recording;

namespace request_table {

namespace {

/// "T3 text" becomes "T3 Function text", "L3 text" becomes "L3 source text".
std::vector<std::string> WithOrigin(const std::vector<std::string>& lines, const std::string& function,
                                    const std::string& source)
{
    std::vector<std::string> whole;
    for (const std::string& line : lines)
        whole.push_back(line.substr(0, 3) + (line[0] == 'T' ? function : source) + ' ' + line.substr(3));
    return whole;
}

} // namespace

void Drive(const std::string& source, const std::vector<Row>& rows)
{
    for (const Row& row : rows) {
        for (const uint16_t code : {uint16_t{0}, uint16_t{9}}) {
            SCOPED_TRACE(std::string(row.function) + ", the service answers " + std::to_string(code));
            Reset();
            Get().asynResult = code;
            Get().answer = [&](const Sent&) {
                return Answer{0, AnswerBytes(code, code == 0 ? row.answer : Bytes())};
            };
            EXPECT_EQ(row.call(), code == 0 ? 0 : row.failedResult);
            ASSERT_EQ(Get().sent.size(), 1U);
            EXPECT_EQ(Get().sent[0].isSynchronous, !row.isAsynchronous);
            EXPECT_EQ(Get().sent[0].envelope.msgId, row.head.msgId);
            EXPECT_EQ(Get().sent[0].envelope.dataLen, sizeof row.head + row.payload.size());
            EXPECT_EQ(BytesOf(Get().sent[0].Head()), BytesOf(row.head));
            EXPECT_EQ(Get().sent[0].Payload(), row.payload);
            std::vector<std::string> lines = row.before;
            const auto& after = code == 0 ? row.done : row.failed;
            lines.insert(lines.end(), after.begin(), after.end());
            EXPECT_EQ(RequestLines(), WithOrigin(lines, row.function, source));
            EXPECT_EQ(Get().unreleased, 0);
        }
    }
}

void Drive(const std::string& source, const std::vector<Refusal>& refusals)
{
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.function);
        Reset();
        EXPECT_EQ(refusal.call(), refusal.result);
        EXPECT_TRUE(Get().sent.empty());
        EXPECT_EQ(RequestLines(), WithOrigin(refusal.lines, refusal.function, source));
    }
}

} // namespace request_table
