// Recordings: what is written is read, and what cannot be one is refused where it goes wrong.
#include "base/error.h"
#include "support/processes.h"
#include "tools/recording/exchange.h"
#include "tools/recording/numbers.h"
#include "tools/recording/reader.h"
#include "tools/recording/writer.h"

#include <cstring>

#include <fcntl.h>

using namespace processes;
using namespace vesk::recording;
using vesk::Bytes;
using vesk::BytesView;

namespace {

/// Bytes of the message of packet @p i: none, of any padding, and one that is written in pieces.
Bytes DataOf(size_t i)
{
    constexpr size_t kSizes[] = {0, 24, 25, 26, 27, 5001};
    return Bytes(kSizes[i % 6], static_cast<std::byte>(i + 1));
}

/// A recording with a packet of each kind and more.
struct RecordingTest : testing::Test {
    static constexpr size_t kPackets = 7;
    RuntimeDir directory;
    std::string path = directory.File("recording");
    std::vector<size_t> ends; ///< Where each packet ends.
    std::string contents;

    RecordingTest()
    {
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        EXPECT_EQ(AppendSection(file, "a test", "first"), 0);
        for (size_t i = 0; i < kPackets; ++i) {
            EXPECT_EQ(i == 3 ? AppendSection(file, "a test", "another process") : 0, 0);
            const Bytes data = DataOf(i);
            Head head{};
            head.version = kVersion;
            head.headSize = sizeof head;
            head.kind = static_cast<Kind>(i % 5);
            head.flags = i % 2 != 0 ? kSent : kSynchronous;
            head.process = 100;
            head.exchange = 7;
            head.number = static_cast<uint32_t>(i);
            head.dataLen = static_cast<uint32_t>(data.size());
            std::memcpy(head.recvProcName, "sixteen letters!", 16);
            EXPECT_EQ(AppendPacket(file, 1795597054272850412 + i, head, data, i == 4 ? "a comment" : ""), 0);
            ends.push_back(static_cast<size_t>(lseek(file, 0, SEEK_CUR)));
        }
        close(file);
        contents = Contents(path);
    }
};

/// The events in @p bytes, given in pieces, and the error at their end.
std::pair<std::vector<Event>, std::string> Read(std::string_view bytes, size_t piece = SIZE_MAX)
{
    std::vector<Event> events;
    try {
        Reader reader;
        while (!bytes.empty()) {
            reader.Feed(std::as_bytes(std::span(bytes.substr(0, piece))));
            bytes.remove_prefix(std::min(piece, bytes.size()));
            while (std::optional<Event> event = reader.Next())
                events.push_back(std::move(*event));
        }
        reader.Finish();
    } catch (const vesk::Error& error) {
        return {std::move(events), error.what()};
    }
    return {std::move(events), ""};
}

/// The blocks and their options turned into the other byte order; packets' contents stay.
std::string Swapped(std::string bytes)
{
    const auto swap = [&](size_t at, size_t size) { std::reverse(&bytes[at], &bytes[at] + size); };
    const auto load = [&](size_t at, size_t size) {
        uint32_t value = 0;
        std::memcpy(&value, &bytes[at], size);
        return value;
    };
    for (size_t at = 0, size = 0; at < bytes.size(); at += size) {
        const uint32_t type = load(at, 4);
        size = load(at + 4, 4);
        size_t options = at + (type == kSectionBlock ? 24 : type == kInterfaceBlock ? 16 : 28);
        if (type == kPacketBlock)
            options += (load(at + 20, 4) + 3) & ~3U;
        for (size_t next = 0; options + 8 <= at + size; options = next) {
            next = options + 4 + ((load(options + 2, 2) + 3) & ~3U);
            swap(options, 2);
            swap(options + 2, 2);
        }
        for (const size_t number : {at, at + 4, at + size - 4})
            swap(number, 4);
        if (type == kSectionBlock)
            swap(at + 8, 4);
        else if (type == kInterfaceBlock)
            swap(at + 8, 2);
        else
            for (size_t number = at + 8; number < at + 28; number += 4)
                swap(number, 4);
    }
    return bytes;
}

} // namespace

TEST_F(RecordingTest, RoundTripInBothByteOrders)
{
    for (const std::string& bytes : {contents, Swapped(contents)}) {
        const auto [events, error] = Read(bytes, 7);
        EXPECT_EQ(error, "");
        ASSERT_EQ(events.size(), kPackets);
        for (size_t i = 0; i < kPackets; ++i) {
            EXPECT_EQ(events[i].kind, static_cast<Kind>(i % 5));
            EXPECT_EQ(events[i].isSent, i % 2 != 0);
            EXPECT_EQ(events[i].number, i);
            EXPECT_EQ(events[i].realtimeNs, 1795597054272850412 + i);
            EXPECT_EQ(events[i].data, DataOf(i)) << i;
            EXPECT_EQ(events[i].comment, i == 4 ? "a comment" : "");
            EXPECT_EQ(events[i].recvProcName, "sixteen letters!");
        }
    }
}

TEST_F(RecordingTest, CutAtEveryLength)
{
    for (size_t length = 1; length < contents.size(); ++length) {
        const auto [events, error] = Read(contents.substr(0, length));
        size_t whole = 0;
        while (ends[whole] <= length)
            ++whole;
        EXPECT_EQ(events.size(), whole) << length;
        if (whole == 0 || whole == 3) // a section, which is two blocks, may end before the packet begins
            continue;
        EXPECT_EQ(error, ends[whole - 1] == length ? ""
                                                   : "offset " + std::to_string(ends[whole - 1]) +
                                                         ": the file ends in the middle of a block");
    }
}

TEST_F(RecordingTest, WhatIsNoneIsRefusedWhereItGoesWrong)
{
    const std::string at = "offset " + std::to_string(ends[0]) + ": ";
    const struct {
        size_t offset; ///< In the second packet's block.
        std::string bytes;
        std::string error;
    } rows[] = {
        {4, std::string("\x0d\0\0\0", 4), at + "a block cannot have 13 bytes"},
        {4, std::string("\0\0\0\x7f", 4), at + "a block of 2130706432 bytes is too long for a recording"},
        {8, "\x09", at + "a packet of interface 9, of which there are 1"},
        {20, std::string("\0\x10\0\0", 4), at + "a packet of 4096 bytes in a block that holds 200"},
        {40, "\x02", at + "a message in version 2 of the format; only version 1 is known"},
        {44, "\x77", at + "a message with a garbled head"},
        {88, "\x19", at + "a message of 25 bytes of which 24 are there"},
        {0, std::string(4, 'x'), ""}, // another kind of block
        {32, "other", ""},            // a packet for another dissector
    };
    for (const auto& row : rows) {
        std::string garbled = contents;
        garbled.replace(ends[0] + row.offset, row.bytes.size(), row.bytes);
        const auto [events, error] = Read(garbled);
        EXPECT_EQ(error, row.error);
        EXPECT_EQ(events.size(), row.error.empty() ? kPackets - 1 : 1) << row.error;
    }
    EXPECT_EQ(Read("{\"not\": \"pcapng\"}").second, "offset 0: not a pcapng file");
    EXPECT_EQ(Read("").second, "the file is empty");
    std::string foreign = contents.substr(0, ends[0]);
    foreign[foreign.find("vesk", foreign.find("vesk") + 1)] = 'V'; // the packet's dissector
    EXPECT_NE(Read(foreign).second.find("none of its 1 packets"), std::string::npos);
}

TEST_F(RecordingTest, JoinsWhatBelongsTogether)
{
    Joiner joiner;
    std::string shown;
    ReadFile(path, [&](Event&& event) {
        if (const auto exchange = joiner.Add(std::move(event)))
            shown += std::to_string(exchange->begin.number) +
                     (exchange->end ? '-' + std::to_string(exchange->end->number) : "") + ' ';
    });
    EXPECT_EQ(shown, "0 1-2 3-4 5 ");
    EXPECT_EQ(joiner.TakeOpen()->begin.number, 6U);
    EXPECT_FALSE(joiner.TakeOpen());
}

TEST(Numbers, AnEngineOfEitherDirectionIsTranslatedAsAnInputEngineFirst)
{
    using namespace vesk::decoder;
    const Decoder decoder;
    vesk::recording::Numbers numbers;
    numbers.Learn("inEngNo", 1, 1001);
    numbers.Learn("outEngNo", 1, 2001);
    numbers.Learn("outEngNo", 2, 2002);
    for (const auto& [from, to] : {std::pair("1", "1001"), {"2", "2002"}, {"3", "3"}}) {
        const auto data = [&](const char* number) {
            return decoder.Encode(Direction::kRequest, VESK_VIDEO_MSG_SET_VIO_CALLBACK, {{"engNo", number}});
        };
        const Bytes recorded = data(from);
        EXPECT_EQ(
            numbers.Translate(decoder, {Direction::kRequest, VESK_VIDEO_MSG_SET_VIO_CALLBACK, recorded}),
            data(to));
    }
}
