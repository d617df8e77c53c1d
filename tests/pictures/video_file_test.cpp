// Videos are complete or not there at all.
#include "base/error.h"
#include "pictures/media_test.h"

namespace {

struct VideoFileTest : MediaTest {
    /// The text of the error that writing one picture to that file ends with; empty if there is none.
    std::string ErrorOf(const std::string& path, Size size = {16, 16}, uint32_t framesPerSecond = 10) const
    {
        try {
            VideoFile video(path, size, framesPerSecond);
            video.Add(Picture({16, 16}));
            video.Finish();
            return {};
        } catch (const vesk::Error& error) {
            return error.what();
        }
    }

    size_t Count() const
    {
        const std::filesystem::directory_iterator files(folder.path);
        return static_cast<size_t>(std::distance(begin(files), end(files)));
    }
};

FORKED_TEST(VideoFileTest, TheSamePicturesMakeTheSameFileOfTheirSize)
{
    Files files;
    for (const char* name : {"a.mp4", "a.mkv", "a.webm"})
        for (const auto& [size, stored] :
             {std::pair{Size{1, 1}, Size{2, 2}}, {{33, 21}, {34, 22}}, {{64, 48}, {64, 48}}}) {
            const std::string first = processes::Contents(WriteVideo(name, 4, size));
            const std::string path = WriteVideo(name, 4, size);
            EXPECT_EQ(processes::Contents(path), first) << name;
            const Frame frame = files.At(path, 350);
            ASSERT_TRUE(frame.picture) << frame.problem;
            EXPECT_EQ(frame.picture->size, stored) << name;
            EXPECT_EQ(NumberOf(frame), 3) << name;
        }
}

FORKED_TEST(VideoFileTest, AFileIsReplacedOnceItIsComplete)
{
    const std::string path = Write("a.mp4", "before");
    {
        VideoFile video(path, {64, 48}, 10);
        video.Add(Grey(1));
    }
    EXPECT_EQ(processes::Contents(path), "before");
    EXPECT_EQ(Count(), 1U);
    std::filesystem::create_symlink(path, folder.File("link.mp4"));
    WriteVideo("link.mp4", 2);
    EXPECT_EQ(NumberOf(Files().At(path, 100)), 1);
    EXPECT_EQ(Count(), 2U);
}

FORKED_TEST(VideoFileTest, WhatCannotBeWrittenSaysWhy)
{
    std::filesystem::create_symlink("/dev/full", folder.File("full.mkv"));
    EXPECT_NE(ErrorOf(folder.File("a.avi")).find(".webm"), std::string::npos);
    EXPECT_NE(ErrorOf(folder.File("none/a.mp4")).find("No such file"), std::string::npos);
    EXPECT_NE(ErrorOf(folder.File("a.mp4"), {17, 16}).find("17x16, got 16x16"), std::string::npos);
    EXPECT_NE(ErrorOf(folder.File("a.mp4"), {0, 16}).find("1x1"), std::string::npos);
    EXPECT_NE(ErrorOf(folder.File("a.mp4"), {16, 16}, 0).find("got 0"), std::string::npos);
    EXPECT_NE(ErrorOf(folder.File("full.mkv")).find("No space left"), std::string::npos);
    EXPECT_EQ(Count(), 1U);
}

} // namespace
