// What scenes look like, and that a painter draws the same whatever it has drawn before.
#include "pictures/painter.h"

#include "base/error.h"
#include "base/file.h"
#include "pictures/image_file.h"
#include "pictures/ticker.h"

#include <cairo.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>

using namespace vesk::pictures;

namespace {

constexpr Size kSmall{288, 162};
const std::string kFolder = VESK_PICTURES_DATA;
const char* const kScenes[] = {"six",    "grid", "overlays", "modes", "crop", "frozen",
                               "pulled", "loop", "filter",   "files", "dark"};

Scene SceneOf(const std::string& name)
{
    return ReadScene(
        nlohmann::ordered_json::parse(vesk::FileContents(kFolder + "/scenes/" + name + ".json")));
}

Picture ReadPng(const std::string& path)
{
    cairo_surface_t* surface = cairo_image_surface_create_from_png(path.c_str());
    Picture picture({uint32_t(cairo_image_surface_get_width(surface)),
                     uint32_t(cairo_image_surface_get_height(surface))});
    const unsigned char* data = cairo_image_surface_get_data(surface);
    for (size_t y = 0; y < picture.size.height; ++y)
        std::memcpy(&picture.pixels[y * picture.size.width],
                    data + y * size_t(cairo_image_surface_get_stride(surface)), picture.size.width * 4);
    if (cairo_image_surface_get_format(surface) == CAIRO_FORMAT_RGB24) {
        for (uint32_t& pixel : picture.pixels)
            pixel |= 0xff000000U;
    }
    cairo_surface_destroy(surface);
    return picture;
}

/// How far the colours of pictures of one size are apart.
struct Distance {
    int most = 0;
    double mean = 0;
};

Distance Between(const Picture& a, const Picture& b)
{
    Distance distance;
    for (size_t i = 0; i < a.pixels.size(); ++i) {
        for (const unsigned shift : {0U, 8U, 16U, 24U}) {
            const int apart = std::abs(int(a.pixels[i] >> shift & 0xffU) - int(b.pixels[i] >> shift & 0xffU));
            distance.most = std::max(distance.most, apart);
            distance.mean += apart;
        }
    }
    distance.mean /= double(a.pixels.size()) * 4;
    return distance;
}

class Golden : public testing::TestWithParam<const char*> {};

TEST_P(Golden, LooksAsItDid)
{
    Files files;
    Painter painter(files);
    const Scene scene = SceneOf(GetParam());
    const Picture& picture = painter.Draw(scene, scene.atMs, {kSmall}).picture;
    const std::string path = kFolder + "/golden/" + GetParam() + ".png";
    if (getenv("VESK_UPDATE_GOLDEN") != nullptr) {
        const vesk::Bytes png = Encode(picture, Format::kPng);
        std::ofstream(path).write(reinterpret_cast<const char*>(png.data()), std::ssize(png));
    }
    const Picture expected = ReadPng(path);
    ASSERT_EQ(expected.size, picture.size);
    const Distance distance = Between(expected, picture);
    RecordProperty("most", distance.most);
    EXPECT_LE(distance.most, 48) << path;
    EXPECT_LE(distance.mean, 0.05) << path;
}

INSTANTIATE_TEST_SUITE_P(Pictures, Golden, testing::ValuesIn(kScenes),
                         [](const auto& about) { return std::string(about.param); });

TEST(Painter, DrawsTheSameWhateverItHasDrawnBefore)
{
    std::mt19937 random(20); // NOLINT: always the same
    Files files, others;
    Painter painter(files);
    uint64_t version = 0;
    Picture before;
    Scene scene = SceneOf("six");
    uint64_t atMs = 0;
    for (int i = 0; i < 120; ++i) {
        if (random() % 8 == 0) {
            scene = SceneOf(kScenes[random() % std::size(kScenes)]);
        } else if (random() % 8 == 0 && !scene.layers.empty()) {
            Layer& layer = scene.layers[random() % scene.layers.size()];
            layer.opacity = random() % 2 == 0 ? 100 : 50;
            layer.rect.x = int32_t(random() % 1000);
        }
        atMs = random() % 4 == 0 ? random() % 10000000 : atMs + random() % 50;
        const DrawOptions options{random() % 16 == 0 ? Size{320, 200} : kSmall, random() % 16 == 0};
        const auto [picture, number] = painter.Draw(scene, atMs, options);
        Painter fresh(others);
        ASSERT_EQ(fresh.Draw(scene, atMs, options).picture.pixels, picture.pixels) << i;
        ASSERT_TRUE(number != version || before.pixels == picture.pixels) << i;
        version = number;
        before = picture;
        ASSERT_EQ(painter.Draw(scene, atMs, options).version, version) << i;
    }
}

TEST(Painter, DrawsWhatIsLiveAlone)
{
    Files files;
    Painter painter(files);
    Scene scene = SceneOf("pulled");
    const Picture live = painter.Draw(scene, 0, {kSmall, true}).picture;
    std::erase_if(scene.layers, [](const Layer& layer) { return !layer.IsLive(); });
    EXPECT_EQ(painter.Draw(scene, 0, {kSmall}).picture.pixels, live.pixels);
}

/// Whatever a scene may contain is drawn in moderate time and memory, and within the picture.
TEST(Painter, BearsExtremes)
{
    constexpr int32_t kFar = 1 << 30;
    std::mt19937 random(21); // NOLINT: always the same
    const auto any = [&](std::initializer_list<int32_t> values) {
        return values.begin()[random() % values.size()];
    };
    const auto anyRect = [&] {
        const int32_t x = any({-kFar, -5, 0, 100, kFar - 1}), y = any({-kFar, -5, 0, 100, kFar - 1});
        const auto length = [&](int64_t from) {
            return static_cast<int32_t>(std::min<int64_t>(any({0, 1, 500, INT32_MAX}), kFar - from));
        };
        return Rect{x, y, length(x), length(y)};
    };
    Files files;
    Painter painter(files);
    for (int i = 0; i < 200; ++i) {
        Scene scene = SceneOf(kScenes[random() % std::size(kScenes)]);
        for (Layer& layer : scene.layers) {
            layer.window = anyRect();
            layer.rect = anyRect();
            layer.part = anyRect();
            layer.size = {uint32_t(any({0, 1, 640, -1})), uint32_t(any({0, 1, 360, -1}))};
            layer.input.fr = layer.decoder.fr = uint32_t(any({0, 1, -1}));
            layer.input.name = std::string(random() % 400, char(random()));
        }
        const auto drawn = painter.Draw(scene, i % 2 == 0 ? UINT64_MAX : random(), {{64, 48}});
        EXPECT_EQ(drawn.picture.pixels.size(), 64U * 48U);
    }
}

/// In the middle of the image are the same colours, however large it is beside the display.
TEST(Painter, EnlargesImagesWithoutABound)
{
    Files files;
    Painter painter(files);
    Scene scene = SceneOf("overlays");
    scene.layers.assign(1, {});
    Layer& layer = scene.layers[0];
    layer.source = Layer::Source::kOverlay;
    layer.showing = "live";
    layer.file = "/waves.png";
    layer.rect = {0, 0, 1920, 1080};
    for (const int32_t far : {1 << 20, 1 << 24, 1 << 29}) {
        layer.window = {-far, -far, 2 * far, 2 * far};
        layer.isMirroredHorizontally = !layer.isMirroredHorizontally;
        for (const uint32_t pixel : painter.Draw(scene, 0, {kSmall}).picture.pixels)
            ASSERT_EQ(pixel | 0xff0000U, 0xffff80ffU) << far;
    }
}

/// However many digits there are.
TEST(Ticker, ClockAndNumberOfTheFrameLieSideBySide)
{
    const Font font;
    for (const uint64_t minutes : {59ULL, 1000ULL, 123456789ULL}) {
        const std::string digits = std::to_string(minutes);
        const Look look{.size = {1920, 1080}, .source = {1920, 1080}, .digits = digits.size()};
        Ticker ticker(look, font);
        const std::vector<Piece> pieces = ticker.At({minutes * 60000, 12345678901, 30});
        ASSERT_EQ(pieces.size(), digits.size() + 7 + 11 + 1);
        for (size_t i = 1; i + 1 < pieces.size(); ++i)
            EXPECT_LE(pieces[i - 1].x + pieces[i - 1].Where().width, pieces[i].x + 4) << minutes << ' ' << i;
    }
}

TEST(ImageFile, IsWrittenAsItsNameSays)
{
    EXPECT_EQ(FormatOf("a.PNG"), Format::kPng);
    EXPECT_EQ(FormatOf("/b.c/a.jpeg"), Format::kJpeg);
    for (const char* path : {"a.gif", ".png", "a", "jpg"})
        EXPECT_THROW(FormatOf(path), vesk::Error) << path;
    Picture red(Size{64, 32});
    std::ranges::fill(red.pixels, 0xffff0000U);
    const vesk::Bytes jpeg = Encode(red, Format::kJpeg);
    ASSERT_GT(jpeg.size(), 4U);
    EXPECT_EQ(vesk::Hex(vesk::BytesView(jpeg).first(3)), "ffd8ff");
    EXPECT_EQ(vesk::Hex(vesk::BytesView(jpeg).last(2)), "ffd9");
    EXPECT_THROW(Encode({}, Format::kPng), vesk::Error);
}

} // namespace
