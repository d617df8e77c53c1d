// How alike two pictures are.
#include "pictures/comparison.h"

#include "base/error.h"

#include <algorithm>
#include <string>

namespace vesk::pictures {

namespace {

constexpr uint32_t kOpaque = 0xff000000;
constexpr uint32_t kMark = 0xffff0000;
constexpr uint32_t kBlock = 4;

/// What SSIM needs to know of the same pixels of two pictures. Sums of 64 pixels stay far below 2^32.
struct Sums {
    uint32_t first = 0;
    uint32_t second = 0;
    uint32_t squares = 0; ///< Of both.
    uint32_t products = 0;

    Sums& operator+=(const Sums& other)
    {
        first += other.first;
        second += other.second;
        squares += other.squares;
        products += other.products;
        return *this;
    }
};

/// The index of a window of 8 by 8 pixels, with the usual constants for values of 8 bits.
double Index(const Sums& sums)
{
    constexpr int64_t kPixels = 64;
    constexpr double kMean = 0.01 * 0.01 * 255 * 255 * kPixels;
    constexpr double kVariance = 0.03 * 0.03 * 255 * 255 * kPixels * (kPixels - 1);
    const int64_t first = sums.first;
    const int64_t second = sums.second;
    const int64_t means = first * first + second * second;
    const int64_t variances = sums.squares * kPixels - means;
    const int64_t covariance = sums.products * kPixels - first * second;
    return (static_cast<double>(2 * first * second) + kMean) *
           (static_cast<double>(2 * covariance) + kVariance) /
           ((static_cast<double>(means) + kMean) * (static_cast<double>(variances) + kVariance));
}

/// Blocks of 4 by 4 pixels of one colour. Those at the edges, and a second one where there is but one, repeat
/// the last pixels.
class Blocks {
public:
    Blocks(const Picture& first, const Picture& second, int shift)
        : first_(first), second_(second), shift_(shift)
    {
    }

    static uint32_t Across(uint32_t side) { return std::max(2U, (side + kBlock - 1) / kBlock); }

    /// A row of them.
    std::vector<Sums> Row(uint32_t row) const
    {
        const auto [width, height] = first_.size;
        std::vector<Sums> sums(Across(width));
        for (uint32_t y = row * kBlock; y < (row + 1) * kBlock; y++) {
            const size_t line = size_t{std::min(y, height - 1)} * width;
            for (uint32_t x = 0; x < sums.size() * kBlock; x++) {
                const size_t at = line + std::min(x, width - 1);
                const uint32_t a = first_.pixels[at] >> shift_ & 0xffU;
                const uint32_t b = second_.pixels[at] >> shift_ & 0xffU;
                sums[x / kBlock] += {a, b, a * a + b * b, a * b};
            }
        }
        return sums;
    }

private:
    const Picture& first_;
    const Picture& second_;
    int shift_;
};

/// The mean index of windows that are four pixels apart, of one colour.
double Similarity(const Blocks& blocks, Size size)
{
    const uint32_t rows = Blocks::Across(size.height);
    double sum = 0;
    size_t windows = 0;
    std::vector<Sums> above = blocks.Row(0);
    for (uint32_t y = 1; y < rows; y++) {
        std::vector<Sums> row = blocks.Row(y);
        for (size_t x = 1; x < row.size(); x++, windows++) {
            Sums window = above[x - 1];
            ((window += above[x]) += row[x - 1]) += row[x];
            sum += Index(window);
        }
        above = std::move(row);
    }
    return sum / static_cast<double>(windows);
}

/// Grey, and lighter than it was, so that marks are seen on it.
uint32_t Pale(uint32_t pixel)
{
    const uint32_t brightness =
        ((pixel >> 16U & 0xffU) * 54 + (pixel >> 8U & 0xffU) * 183 + (pixel & 0xffU) * 19) / 256;
    return kOpaque | (170 + brightness / 3) * 0x010101U;
}

} // namespace

Comparison Compare(const Picture& expected, const Picture& actual)
{
    if (expected.size != actual.size)
        throw Error("the pictures are not of one size: expected " + TextOf(expected.size) + ", got " +
                    TextOf(actual.size));
    Comparison result;
    result.marked = Picture(actual.size);
    for (size_t i = 0; i < actual.pixels.size(); i++) {
        const bool isSame = (expected.pixels[i] | kOpaque) == (actual.pixels[i] | kOpaque);
        result.differentPixels += isSame ? 0 : 1;
        result.marked.pixels[i] = isSame ? Pale(actual.pixels[i]) : kMark;
    }
    if (result.differentPixels == 0) {
        result.similarity = 1;
        return result;
    }
    for (const int shift : {0, 8, 16})
        result.similarity += Similarity(Blocks(expected, actual, shift), actual.size) / 3;
    return result;
}

} // namespace vesk::pictures
