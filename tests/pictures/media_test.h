// What tests of files and videos share.
#pragma once

#include "pictures/files.h"
#include "pictures/video_file.h"
#include "support/processes.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

using namespace vesk::pictures;

/// A folder of its own, where the program is the build's.
struct MediaTest {
    processes::RuntimeDir folder;

    MediaTest() { setenv("VESK_MEDIA_PROGRAM", VESK_MEDIA_PATH, 1); }

    std::string Write(const std::string& name, const std::string& contents) const
    {
        std::ofstream(folder.File(name), std::ios::binary) << contents;
        return folder.File(name);
    }

    /// A video of ten pictures a second, of which each is a little lighter than the one before.
    std::string WriteVideo(const std::string& name, uint32_t frames, Size size = {64, 48}) const
    {
        VideoFile video(folder.File(name), size, 10);
        for (uint32_t i = 0; i < frames; i++)
            video.Add(Grey(i, size));
        video.Finish();
        return folder.File(name);
    }

    static Picture Grey(uint32_t number, Size size = {64, 48})
    {
        Picture picture(size);
        std::fill(picture.pixels.begin(), picture.pixels.end(), 0xff000000U | (20 + 15 * number) * 0x010101U);
        return picture;
    }
};

/// Which picture of such a video that is.
inline int NumberOf(const Frame& frame)
{
    return frame.picture ? (static_cast<int>(frame.picture->pixels.at(0) & 0xffU) - 20 + 7) / 15 : -1;
}
