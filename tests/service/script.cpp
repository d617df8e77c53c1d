// Plays statements: messages written with the decoder's names.
#include "decoder/text.h"
#include "service/service_fixture.h"

#include <sstream>

using namespace vesk;
using namespace vesk::decoder;

namespace {

constexpr size_t kHead = sizeof(VeskVideoMsgHead);

const Decoder& TheDecoder()
{
    static const Decoder s_decoder;
    return s_decoder;
}

/// A message as it is written down: names and values, of which the last one given counts.
struct Written {
    Direction direction;
    uint32_t number;
    std::map<std::string, std::string> fields{};
    std::string prefix = ""; ///< Of the names that follow.

    Listing Listed() const { return TheDecoder().Describe(direction, number); }

    void Add(const std::string& word)
    {
        const size_t equals = word.find('=');
        if (word.ends_with(':'))
            prefix = word.substr(0, word.size() - 1) + '.';
        else if (equals != word.npos)
            fields[prefix + word.substr(0, equals)] = word.substr(equals + 1);
        else
            fields[NextArgument()] = word;
    }

    /// Header and payload.
    Bytes Block() const
    {
        std::vector<Assignment> assignments;
        for (const auto& [path, value] : fields)
            assignments.push_back({path, value});
        return TheDecoder().Encode(direction, number, assignments);
    }

private:
    /// The first argument of the header that has no value yet; of an answer, the number that it consists of.
    std::string NextArgument() const
    {
        const Listing listing = Listed();
        for (const HeaderArgument& argument : listing.arguments) {
            if (argument.isListed && !fields.contains(std::string(argument.name)))
                return std::string(argument.name);
        }
        return listing.form->name;
    }
};

/// Compares a payload byte by byte with what follows the header of @p block, then zeros.
void ExpectPayload(const Written& message, Bytes block, std::string_view payload)
{
    block.resize(std::max(block.size(), kHead + payload.size()));
    Bytes actual = block;
    actual.resize(kHead + payload.size());
    std::ranges::copy(std::as_bytes(std::span(payload)), actual.begin() + kHead);
    const auto line = [&](const Bytes& data) {
        return Line(TheDecoder(), TheDecoder().Decode({message.direction, message.number, data}));
    };
    EXPECT_TRUE(actual == block) << line(actual) << "\nexpected:\n" << line(block);
}

/// An application is given a notification's payload or, if there is none, its arguments.
void PlayNotification(const Written& message)
{
    static std::map<uint32_t, size_t> s_seen; // notifications, by number
    const size_t seen = s_seen[message.number]++;
    const std::vector<std::string> arrived = Arrived(message.number, seen + 1);
    ASSERT_GT(arrived.size(), seen);
    Bytes block = message.Block();
    const Bytes head(block.begin(), block.begin() + kHead);
    for (const HeaderArgument& argument : message.Listed().arguments) {
        const auto at = head.begin() + static_cast<ptrdiff_t>(argument.offset);
        if (argument.isListed)
            block.insert(block.end(), at, at + sizeof(uint32_t));
    }
    ExpectPayload(message, block, arrived[seen]);
}

void PlayRequest(const Written& request, const Written* expected, uint32_t result)
{
    const Bytes block = request.Block();
    const auto* const head = reinterpret_cast<const VeskVideoMsgHead*>(block.data());
    const auto size = static_cast<uint32_t>(block.size() - kHead);
    const void* const data = size != 0 ? block.data() + kHead : nullptr;
    const messages::Form& form = *Written{Direction::kAnswer, request.number}.Listed().form;
    const size_t count = form.kind == messages::Kind::kArray ? messages::ValueOf(*head, form.count) : 1;
    const Bytes wanted = expected != nullptr ? expected->Block() : Bytes(kHead);
    std::string answer(std::max(wanted.size() - kHead, form.size * count), '\0');
    const auto answerSize = static_cast<uint32_t>(answer.size());
    if (form.kind == messages::Kind::kUnanswered)
        EXPECT_EQ(VeskVideoSendAsyncMsg(head), 0U);
    else if (result != 0 || answer.empty())
        EXPECT_EQ(VeskVideoSendSyncMsgWithoutResponse(head, data, size), result);
    else
        EXPECT_EQ(VeskVideoSendSyncMsg(head, data, size, answer.data(), answerSize), 0U);
    if (expected != nullptr)
        ExpectPayload(*expected, wanted, answer);
}

void PlayStatement(const std::string& statement)
{
    static std::map<uint32_t, Written> s_answers; // the last that were expected, by request
    SCOPED_TRACE(statement);
    std::istringstream words(statement);
    std::string word;
    words >> word;
    const bool isNotification = word == "ON" && words >> word;
    const uint32_t number = isNotification ? NotificationNamed(word).number : RequestNamed(word).number;
    Written sent{isNotification ? Direction::kNotification : Direction::kRequest, number};
    Written answer{Direction::kAnswer, number}, *written = &sent;
    uint32_t result = 0;
    while (words >> word) {
        if (word == "=")
            written = &answer;
        else if (word == "..")
            answer = s_answers.at(number);
        else if (word[0] == '!')
            result = FindResult(word.substr(1)).value();
        else
            written->Add(word);
    }
    if (isNotification)
        return PlayNotification(sent);
    const bool isCompared = written == &answer;
    PlayRequest(sent, isCompared ? &answer : nullptr, result);
    answer.prefix.clear();
    if (isCompared)
        s_answers.insert_or_assign(number, answer);
}

} // namespace

std::pair<uint32_t, Bytes> RequestOf(const std::string& statement)
{
    std::istringstream words(statement);
    std::string word;
    words >> word;
    Written request{Direction::kRequest, RequestNamed(word).number};
    while (words >> word)
        request.Add(word);
    return {request.number, request.Block()};
}

void Play(std::string script, uint32_t index, uint32_t number)
{
    for (size_t at = 0; (at = script.find_first_of("#%\n", at)) != script.npos;) {
        std::string inLine = std::to_string(script[at] == '#' ? index : number);
        if (script[at] == '\n')
            inLine = std::isupper(script[script.find_first_not_of(' ', at + 1)]) != 0 ? ";" : " ";
        script.replace(at, 1, inLine);
    }
    std::istringstream statements(script);
    for (std::string statement; std::getline(statements, statement, ';');) {
        if (statement.find_first_not_of(' ') != statement.npos)
            PlayStatement(statement);
    }
}
