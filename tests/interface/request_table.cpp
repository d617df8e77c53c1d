#include "interface/request_table.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>

using namespace recording;

namespace request_table {

namespace {

struct Transcript {
    std::map<char, Lines> lines; // ' ', '0' and '9', as they are marked
};

std::string Unescaped(const std::string& text)
{
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\')
            result += text[++i] == 'n' ? '\n' : '\r';
        else
            result += text[i];
    }
    return result;
}

/// All transcripts by the text of their call. A line reads: two blanks, mark, blank, "T3 ", quoted text.
const std::map<std::string, Transcript>& Transcripts()
{
    static const auto transcripts = [] {
        std::map<std::string, Transcript> all;
        std::ifstream file(VESK_TRANSCRIPTS);
        Transcript* current = nullptr;
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with("  ") && current != nullptr)
                current->lines[line[2]].push_back(line.substr(4, 3) +
                                                  Unescaped(line.substr(8, line.size() - 9)));
            else if (!line.starts_with('#'))
                current = &all[line];
        }
        return all;
    }();
    return transcripts;
}

/// What a call must have written: its lines before the send, then those with a mark. "T3 text" is the
/// function's line, "L3 text" the source's.
Lines Expected(const std::string& call, char mark, const std::string& source)
{
    const auto found = Transcripts().find(call);
    if (found == Transcripts().end()) {
        ADD_FAILURE() << "no transcript of " << call;
        return {};
    }
    const std::string function = call.substr(0, call.find('('));
    Lines whole;
    for (const char part : {' ', mark}) {
        const auto lines = found->second.lines.find(part);
        if (lines == found->second.lines.end())
            continue;
        for (const std::string& line : lines->second)
            whole.push_back(line.substr(0, 3) + (line[0] == 'T' ? function : source) + ' ' + line.substr(3));
    }
    return whole;
}

} // namespace

void Drive(const std::string& source, const std::vector<Row>& rows)
{
    for (const Row& row : rows) {
        for (const char mark : {'0', '9'}) {
            SCOPED_TRACE(row.text + ", the service answers " + mark);
            const auto code = static_cast<uint16_t>(mark - '0');
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
            EXPECT_EQ(RequestLines(), Expected(row.text, mark, source));
            EXPECT_EQ(Get().unreleased, 0);
        }
    }
}

void Drive(const std::string& source, const std::vector<Refusal>& refusals)
{
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.text);
        Reset();
        EXPECT_EQ(refusal.call(), refusal.result);
        EXPECT_TRUE(Get().sent.empty());
        EXPECT_EQ(RequestLines(), Expected(refusal.text, '0', source));
    }
}

} // namespace request_table
