// Pictures and videos are read from files, and files that are anything else harm nobody.
#include "base/bytes.h"
#include "pictures/media_test.h"

#include <chrono>
#include <random>
#include <sstream>
#include <vector>

#include <signal.h>
#include <sys/stat.h>

namespace {

std::string FromHex(std::string_view hex)
{
    const vesk::Bytes bytes = vesk::ParseHex(hex);
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

struct Sample {
    const char* name;
    const char* hex;
    Size size;
    uint32_t pixel;
};

const Sample kSamples[] = {
    {"half.png",
     "89504e470d0a1a0a0000000d4948445200000002000000010806000000f4227f8a000000114944415408d763fccfc0d0c0c0c0c"
     "00000"
     "0a8a0181fd47d60a0000000049454e44ae426082",
     {2, 1},
     0x80800000},
    {"a.gif",
     "47494638396102000200f0000010203000000021f90400000000002c00000000020002000002028451003b",
     {2, 2},
     0xff102030},
    {"a.bmp",
     "424d460000000000000036000000280000000200000002000000010018000000000010000000000000000000000000000000000"
     "0"
     "0000302010302010000030201030201000 00",
     {2, 2},
     0xff102030},
    {"a.webp",
     "524946461e000000574542505650384c110000002f03c000000750980217a4ff8188e87f0000",
     {4, 4},
     0xffc03020},
    {"a.jpg",
     "ffd8ffe000104a46494600010100000100010000ffdb004300(01*64)ffdb004301(01*64)"
     "ffc00011080008000803012200021101031101"
     "ffc4001500010100000000000000000000000000000004ffc40014100100000000000000000000000000000000ffc4001501010"
     "100000000"
     "000000000000000000000405ffc40014110100000000000000000000000000000000ffda000c03010002110311003f008c01955"
     "fffd9",
     {8, 8},
     0},
};

/// Processes that this one has started.
std::vector<pid_t> Children()
{
    std::istringstream text(processes::Contents("/proc/thread-self/children"));
    return {std::istream_iterator<pid_t>(text), {}};
}

/// What may be in a file that was changed: it is shown, or it is told why not, before long.
void ExpectAnAnswer(Files& files, const std::string& path)
{
    for (const uint64_t atMs : {0, 150, 5000, 40}) {
        const Frame frame = files.At(path, atMs);
        ASSERT_NE(frame.picture == nullptr, frame.problem.empty()) << path << ": " << frame.problem;
        if (frame.picture) {
            ASSERT_EQ(frame.picture->pixels.size(), frame.picture->size.Pixels());
        }
    }
}

/// Changes bytes of @p contents, or their number.
std::string Mutated(std::string contents, std::mt19937& random)
{
    const auto at = [&] { return random() % contents.size(); };
    for (uint32_t left = 1 + random() % 8; left > 0; left--)
        contents[at()] = static_cast<char>(random() % 3 == 0 ? 0xff : random());
    if (random() % 4 == 0)
        contents.resize(1 + at());
    if (random() % 8 == 0)
        contents.insert(at(), contents.substr(0, at()));
    return contents;
}

struct FilesTest : MediaTest {
    std::vector<std::string> Valid() const
    {
        std::vector<std::string> paths{WriteVideo("v.mp4", 5), WriteVideo("v.mkv", 5),
                                       WriteVideo("v.webm", 5)};
        for (const Sample& sample : kSamples)
            paths.push_back(Write(sample.name, FromHex(sample.hex)));
        return paths;
    }

    void Mutate(unsigned rounds, unsigned seed) const
    {
        std::mt19937 random(seed);
        for (const std::string& path : Valid()) {
            const std::string valid = processes::Contents(path);
            unsigned shown = 0;
            for (unsigned round = 0; round < rounds; round++) {
                Files files;
                const std::string changed = Write("changed", Mutated(valid, random));
                ExpectAnAnswer(files, changed);
                shown += files.At(changed, 0).picture ? 1 : 0;
            }
            std::printf("%s: %u of %u are shown\n", path.c_str(), shown, rounds);
        }
    }
};

FORKED_TEST(FilesTest, PicturesOfAllFormatsAreRead)
{
    Files files;
    for (const Sample& sample : kSamples) {
        const std::string path = Write(sample.name, FromHex(sample.hex));
        const Frame frame = files.At(path, 12345);
        ASSERT_TRUE(frame.picture) << path << ": " << frame.problem;
        EXPECT_EQ(frame.picture->size, sample.size) << path;
        if (sample.pixel != 0) {
            EXPECT_EQ(frame.picture->pixels[0], sample.pixel) << path;
        }
        EXPECT_EQ(files.At(path, 0).picture, frame.picture) << path;
    }
    EXPECT_TRUE(Children().empty()) << "a file of one picture needs no process any more";
}

FORKED_TEST(FilesTest, AVideoIsRepeatedAndShowsTheSameAtATimeHoweverOneComesThere)
{
    for (const char* name : {"v.mp4", "v.mkv", "v.webm"}) {
        const std::string path = WriteVideo(name, 15);
        Files files;
        for (const uint64_t atMs : {0, 110, 190, 250, 1450, 1510, 150, 140, 20, 6000110, 900})
            EXPECT_EQ(NumberOf(files.At(path, atMs)), static_cast<int>(atMs % 1500 / 100))
                << name << ' ' << atMs;
        const Frame first = files.At(path, 910);
        EXPECT_EQ(files.At(path, 990).picture, first.picture) << "the same frame is the same picture";
        EXPECT_NE(files.At(path, 1010).number, first.number);
        EXPECT_EQ(NumberOf(first), 9) << "and stays what it is";
        EXPECT_EQ(first.picture->pixels, Files().At(path, 910).picture->pixels) << name;
    }
}

FORKED_TEST(FilesTest, WhatCannotBeShownSaysWhy)
{
    const std::string png = FromHex(kSamples[0].hex);
    const std::string mp4 = processes::Contents(WriteVideo("v.mp4", 3));
    mkfifo(folder.File("fifo").c_str(), 0600);
    const std::pair<std::string, const char*> cases[] = {
        {folder.File("missing"), "No such file"},
        {folder.path, "is a folder"},
        {folder.File("fifo"), "is no regular file"},
        {"/dev/zero", "is no regular file"},
        {Write("empty", ""), "is empty"},
        {Write("text", "No picture.\n"), "is no picture or video of a known format"},
        {Write("short.png", png.substr(0, 50)), "cannot be read"},
        {Write("large.png", std::string(png).replace(16, 8, FromHex("0000ffff0000ffff"))), "65535x65535"},
        {Write("checksum.png", std::string(png).replace(30, 1, "x")), "cannot be read"},
        {Write("large.gif", std::string(FromHex(kSamples[1].hex)).replace(6, 4, FromHex("ffffffff"))),
         "65535x65535"},
        {Write("rest.mp4", mp4.substr(0, 40) + std::string(2000, '\x5a')), ""},
        {Write("list.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n/etc/passwd\n#EXT-X-ENDLIST\n"),
         "format"},
        {Write("list.ffconcat", "ffconcat version 1.0\nfile " + Write("v.png", png) + '\n'), "format"},
    };
    Files files;
    for (const auto& [path, problem] : cases) {
        const Frame frame = files.At(path, 0);
        EXPECT_FALSE(frame.picture) << path;
        EXPECT_NE(frame.problem.find(problem), std::string::npos) << path << ": " << frame.problem;
        EXPECT_FALSE(frame.problem.empty()) << path;
    }
    EXPECT_NE(Files("/nowhere/vesk-media").At(folder.File("v.png"), 0).problem.find("cannot start"),
              std::string::npos);
}

FORKED_TEST(FilesTest, AFileIsReadAnewWhenItHasChanged)
{
    Files files;
    const std::string path = Write("picture", "not yet");
    EXPECT_FALSE(files.At(path, 0).picture);
    for (const Sample& sample : {kSamples[1], kSamples[0]}) {
        Write("picture", FromHex(sample.hex));
        EXPECT_EQ(files.At(path, 0).picture->pixels[0], sample.pixel);
    }
    std::filesystem::remove(path);
    EXPECT_FALSE(files.At(path, 0).picture);
}

FORKED_TEST(FilesTest, AProcessThatCrashesOrStallsHarmsNobody)
{
    const std::string path = WriteVideo("v.mp4", 10);
    for (const auto& [signal, problem] : {std::pair{SIGABRT, "signal 6"}, {SIGSTOP, "takes too long"}}) {
        Files files;
        ASSERT_TRUE(files.At(path, 0).picture);
        const std::vector<pid_t> children = Children();
        ASSERT_EQ(children.size(), 1U);
        const std::string process = "/proc/" + std::to_string(children[0]);
        EXPECT_NE(processes::Contents(process + "/status").find("NoNewPrivs:\t1"), std::string::npos);
        EXPECT_NE(processes::Contents(process + "/limits").find("Max file size             0 "),
                  std::string::npos);
        kill(children[0], signal);
        EXPECT_NE(files.At(path, 300).problem.find(problem), std::string::npos)
            << files.At(path, 300).problem;
        EXPECT_TRUE(Children().empty()) << "it is not started again at once";
        WriteVideo("v.mp4", 10);
        EXPECT_EQ(NumberOf(files.At(path, 300)), 3);
    }
}

FORKED_TEST(FilesTest, ProcessesAreNoMoreThan32AndEndWithTheirOwner)
{
    const std::string video = processes::Contents(WriteVideo("v.mp4", 3, {2, 2}));
    {
        Files files;
        for (int i = 0; i < 34; i++)
            ASSERT_TRUE(files.At(Write(std::to_string(i) + ".mp4", video), 0).picture);
        EXPECT_EQ(Children().size(), 32U);
        EXPECT_EQ(NumberOf(files.At(folder.File("0.mp4"), 200)), 2) << "one that was ended is started again";
    }
    EXPECT_TRUE(Children().empty());
}

FORKED_TEST(FilesTest, ChangedFilesAreShownOrToldOf)
{
    Mutate(6, 1);
}

/// For hours: --gtest_also_run_disabled_tests, with the rounds for each file in VESK_ROUNDS.
FORKED_TEST(FilesTest, DISABLED_ManyChangedFilesAreShownOrToldOf)
{
    const char* const rounds = std::getenv("VESK_ROUNDS");
    Mutate(rounds != nullptr ? static_cast<unsigned>(std::strtoul(rounds, nullptr, 10)) : 1000,
           std::random_device()());
}

} // namespace
