// How alike pictures are.
#include "base/error.h"
#include "pictures/comparison.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace vesk::pictures;

namespace {

/// A picture whose colours are a function of where they are.
Picture Pattern(Size size, uint32_t brightness = 0)
{
    Picture picture(size);
    for (uint32_t i = 0; i < picture.pixels.size(); i++)
        picture.pixels[i] = 0xff000000U | ((i * i * 2654435761U >> 8U & 0x7f7f7fU) + brightness * 0x010101U);
    return picture;
}

TEST(Comparison, EqualPicturesAndThoseThatDifferSomewhere)
{
    for (const Size size : {Size{1, 1}, {7, 3}, {8, 8}, {65, 33}}) {
        const Picture picture = Pattern(size);
        const Comparison same = Compare(picture, picture);
        EXPECT_EQ(same.similarity, 1);
        EXPECT_EQ(same.differentPixels, 0U);
        // Also in the last pixel, which is beyond the last whole block.
        for (const size_t at : {size_t{0}, size.Pixels() - 1}) {
            Picture other = picture;
            other.pixels[at] ^= 0x00c0c0c0U;
            const Comparison different = Compare(picture, other);
            EXPECT_LT(different.similarity, 1) << size.width;
            EXPECT_GT(different.similarity, -1) << size.width;
            EXPECT_EQ(different.differentPixels, 1U);
            EXPECT_EQ(std::count(different.marked.pixels.begin(), different.marked.pixels.end(), 0xffff0000U),
                      1);
            EXPECT_EQ(different.marked.pixels[at], 0xffff0000U);
        }
    }
    EXPECT_THROW(Compare(Pattern({2, 3}), Pattern({3, 2})), vesk::Error);
}

TEST(Comparison, TheNumberIsWhatFfmpegTells)
{
    const Picture pattern = Pattern({32, 16});
    Picture mirrored = pattern;
    std::reverse(mirrored.pixels.begin(), mirrored.pixels.end());
    EXPECT_NEAR(Compare(pattern, Pattern({32, 16}, 40)).similarity, 0.892659, 1e-6);
    EXPECT_NEAR(Compare(pattern, mirrored).similarity, 0.042765, 1e-6);
    EXPECT_NEAR(Compare(Picture({32, 16}), pattern).similarity, 0.000001, 1e-6);
}

} // namespace
