#include "service/service_fixture.h"
#include "vesk_service/control_list.h"

#include <span>
#include <sstream>

using namespace vesk::messages;

namespace {

uint32_t Code(const std::string& name)
{
    const char* const names[] = {"REQUEST", "LENGTH", "NUMBER",    "BUSY",    "STATE",      "DISABLED",
                                 "VALUE",   "ROOM",   "UNPLUGGED", "NOT_YET", "UNREACHABLE"};
    return static_cast<uint32_t>(std::find(std::begin(names), std::end(names), name) - names) + 0x201;
}

void Append(std::string& bytes, const std::string& token)
{
    if (token[0] == '\'') {
        bytes += token.substr(1);
    } else if (token[0] == '@') {
        bytes.resize(std::stoul(token.substr(1)));
    } else {
        const auto word = static_cast<uint32_t>(std::stoull(token, nullptr, 0));
        bytes.append(reinterpret_cast<const char*>(&word), sizeof word);
    }
}

/// Bytes as the words that records are made of, which is how a test shows them.
std::vector<uint32_t> Words(const std::string& bytes)
{
    std::vector<uint32_t> words((bytes.size() + 3) / 4);
    bytes.copy(reinterpret_cast<char*>(words.data()), bytes.size());
    return words;
}

/// Bytes of a payload or an answer, when there is nothing wrong with it.
size_t SizeOf(const Form& form, const VeskVideoMsgHead& head, size_t given)
{
    if (form.kind == Kind::kText || form.kind == Kind::kBytes)
        return given + (form.kind == Kind::kText ? 1 : 0);
    return form.kind == Kind::kArray ? form.size * ValueOf(head, form.count) : form.size;
}

/// A request of the interface or a control request; null if there is none of this name.
const Request* RequestNamed(const std::string& name)
{
    for (const auto& [prefix, listed] : {std::pair("VESK_VIDEO_MSG_", std::span<const Request>(kRequests)),
                                         {"VESK_CONTROL_", kControlRequests}}) {
        for (const Request& request : listed) {
            if (request.name == prefix + name)
                return &request;
        }
    }
    return nullptr;
}

void PlayStatement(const std::string& statement)
{
    static std::map<uint32_t, size_t> s_seen; // notifications, by number
    SCOPED_TRACE(statement);
    std::istringstream tokens(statement);
    std::string name, token, payload, expected, *bytes = nullptr;
    std::vector<uint64_t> arguments;
    uint32_t result = 0;
    tokens >> name;
    while (tokens >> token) {
        if (token == "<" || token == "=")
            bytes = token == "<" ? &payload : &expected;
        else if (token[0] == '!')
            result = Code(token.substr(1));
        else if (bytes != nullptr)
            Append(*bytes, token);
        else
            arguments.push_back(std::stoull(token, nullptr, 0));
    }
    const bool isCompared = bytes == &expected;
    if (name == "ON") {
        const auto id = static_cast<uint32_t>(arguments.at(0));
        const size_t seen = s_seen[id]++;
        const std::vector<std::string> arrived = Arrived(id, seen + 1);
        ASSERT_GT(arrived.size(), seen);
        expected.resize(std::max(expected.size(), arrived[seen].size()));
        EXPECT_EQ(Words(arrived[seen]), Words(expected));
        return;
    }
    const Request* const found = RequestNamed(name);
    ASSERT_NE(found, nullptr) << "is no request";
    const Request& request = *found;
    arguments.resize(3); // taken from the front
    auto take = [&, at = arguments.begin()](HeaderField field) mutable {
        return request.At(field).IsUsed() ? *at++ : 0;
    };
    const VeskVideoMsgHead head{0,
                                static_cast<uint16_t>(request.number),
                                static_cast<uint16_t>(take(HeaderField::kSubMsgID)),
                                take(HeaderField::kParam1),
                                static_cast<uint32_t>(take(HeaderField::kParam2)),
                                0};
    payload.resize(SizeOf(request.payload, head, payload.size()));
    const void* data = payload.empty() ? nullptr : payload.data();
    const auto size = static_cast<uint32_t>(payload.size());
    std::string answer(SizeOf(request.answer, head, expected.size()), '\0');
    if (request.answer.kind == Kind::kUnanswered) {
        EXPECT_EQ(VeskVideoSendAsyncMsg(&head), 0U);
    } else if (result != 0 || answer.empty()) {
        EXPECT_EQ(VeskVideoSendSyncMsgWithoutResponse(&head, data, size), result);
    } else {
        EXPECT_EQ(
            VeskVideoSendSyncMsg(&head, data, size, answer.data(), static_cast<uint32_t>(answer.size())), 0U);
        expected.resize(answer.size());
        if (isCompared) {
            EXPECT_EQ(Words(answer), Words(expected));
        }
    }
}

} // namespace

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
