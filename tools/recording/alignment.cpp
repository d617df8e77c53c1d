// Which processes and requests of one recording are those of another.
#include "tools/recording/alignment.h"

#include "tools/recording/numbers.h"

#include <algorithm>
#include <array>
#include <dtl/dtl.hpp>
#include <span>

namespace vesk::recording {

using namespace decoder;

namespace {

/// "veskctl-" of "veskctl-812": some clients have the number of their process in their name.
std::string NameWithoutNumber(const Participant& process)
{
    return process.procName.substr(0, process.procName.find_last_not_of("0123456789") + 1);
}

Counterparts PairProcesses(const std::vector<Participant>& one, const std::vector<Participant>& other)
{
    if (one.size() == 1 && other.size() == 1)
        return {0};
    Counterparts pairs(one.size());
    std::vector<bool> isTaken(other.size());
    const auto pair = [&](const auto& nameOf) {
        for (size_t i = 0; i < one.size(); ++i) {
            for (size_t j = 0; j < other.size() && !pairs[i]; ++j) {
                if (!isTaken[j] && nameOf(one[i]) == nameOf(other[j])) {
                    pairs[i] = j;
                    isTaken[j] = true;
                }
            }
        }
    };
    pair([](const Participant& process) { return process.program; });
    pair([](const Participant& process) { return process.procName; });
    pair(NameWithoutNumber);
    return pairs;
}

/// What makes a request equal to another, as a number: of its contents, and of its message alone.
constexpr size_t kStrictness = 2;
using Keys = std::array<std::vector<uint64_t>, kStrictness>;

/// Gives equal requests of both recordings the same key. Of a number that the service has handed out, it
/// counts which request of which process has led to it.
class KeyMaker {
public:
    explicit KeyMaker(const Decoder& decoder) : decoder_(decoder) {}

    /// @param processes  By participant, a number that its counterpart has, too.
    Keys KeysOf(const Conversation& conversation, const std::vector<size_t>& processes)
    {
        Keys keys;
        Numbers labels;
        std::map<std::pair<size_t, uint64_t>, uint64_t> times;
        for (const Turn& turn : conversation.turns) {
            const Event& request = turn.request;
            const Message message = request.Message();
            const uint64_t contents =
                NumberOf(contents_, {request.number, request.dataLen,
                                     Comparable(request.number, labels.Translate(decoder_, message))});
            keys[0].push_back(contents);
            keys[1].push_back(request.number);
            const size_t process = processes[turn.participant];
            const uint64_t label = NumberOf(labels_, {process, contents, times[{process, contents}]++});
            Learn(labels, message, label);
            if (turn.end && turn.end->HasMessage())
                Learn(labels, turn.end->Message(), label);
        }
        return keys;
    }

private:
    void Learn(Numbers& labels, const Message& message, uint64_t label) const
    {
        if (const auto made = NewNumberIn(decoder_.Decode(message)))
            labels.Learn(made->identity, made->number, label);
    }

    template <class Key>
    static uint64_t NumberOf(std::map<Key, uint64_t>& known, Key key)
    {
        return known.emplace(std::move(key), known.size()).first->second;
    }

    const Decoder& decoder_;
    std::map<std::tuple<uint32_t, uint32_t, Bytes>, uint64_t> contents_;
    std::map<std::tuple<size_t, uint64_t, uint64_t>, uint64_t> labels_;
};

/// Finds the counterparts of requests of one process.
class RequestPairer {
public:
    RequestPairer(const Keys& one, const Keys& other, Counterparts& pairs)
        : one_(one), other_(other), pairs_(pairs)
    {
    }

    /// @param one, other  Turns.
    void Pair(std::span<const size_t> one, std::span<const size_t> other, size_t strictness = 0)
    {
        if (strictness == kStrictness || one.empty() || other.empty())
            return;
        dtl::Diff<uint64_t, std::vector<uint64_t>> diff(Select(one_[strictness], one),
                                                        Select(other_[strictness], other));
        diff.onHuge(); // bounds its memory; beyond that, it gives a good way, not the best
        diff.compose();
        size_t common = 0; // so many of both are done with
        size_t otherCommon = 0;
        size_t i = 0;
        size_t j = 0;
        const auto pairBetween = [&] {
            Pair(one.subspan(common, i - common), other.subspan(otherCommon, j - otherCommon),
                 strictness + 1);
        };
        for (const auto& [key, info] : diff.getSes().getSequence()) { // its indices do not survive that bound
            if (info.type == dtl::SES_COMMON) {
                pairBetween();
                pairs_[one[i++]] = other[j++];
                common = i;
                otherCommon = j;
            } else {
                ++(info.type == dtl::SES_DELETE ? i : j);
            }
        }
        pairBetween();
    }

private:
    static std::vector<uint64_t> Select(const std::vector<uint64_t>& keys, std::span<const size_t> turns)
    {
        std::vector<uint64_t> selected;
        for (const size_t turn : turns)
            selected.push_back(keys[turn]);
        return selected;
    }

    const Keys& one_;
    const Keys& other_;
    Counterparts& pairs_;
};

std::vector<std::vector<size_t>> TurnsByParticipant(const Conversation& conversation)
{
    std::vector<std::vector<size_t>> turns(conversation.participants.size());
    for (size_t i = 0; i < conversation.turns.size(); ++i)
        turns[conversation.turns[i].participant].push_back(i);
    return turns;
}

} // namespace

Alignment Align(const Decoder& decoder, const Conversation& one, const Conversation& other)
{
    Alignment alignment{PairProcesses(one.participants, other.participants), Counterparts(one.turns.size())};
    std::vector<size_t> processes;
    std::vector<size_t> otherProcesses;
    for (size_t i = 0; i < one.participants.size(); ++i)
        processes.push_back(i);
    for (size_t j = 0; j < other.participants.size(); ++j) {
        const auto& pairs = alignment.participants;
        const auto pair = std::find(pairs.begin(), pairs.end(), j);
        otherProcesses.push_back(pair != pairs.end() ? static_cast<size_t>(pair - pairs.begin())
                                                     : pairs.size() + j);
    }
    KeyMaker maker(decoder);
    const Keys keys = maker.KeysOf(one, processes);
    const Keys otherKeys = maker.KeysOf(other, otherProcesses);
    RequestPairer pairer(keys, otherKeys, alignment.turns);
    const auto turns = TurnsByParticipant(one);
    const auto otherTurns = TurnsByParticipant(other);
    for (size_t i = 0; i < turns.size(); ++i) {
        if (alignment.participants[i])
            pairer.Pair(turns[i], otherTurns[*alignment.participants[i]]);
    }
    return alignment;
}

} // namespace vesk::recording
