// Scene documents, also of those who mean harm.
#include "pictures/scene.h"

#include "base/error.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstring>

using namespace vesk::pictures;
using nlohmann::ordered_json;

namespace {

/// A scene with a layer of each kind that has members of its own.
ordered_json Document()
{
    return ordered_json::parse(R"({"voPort": 1, "name": "OUT", "width": 1920, "height": 1080, "atMs": 5,
        "showing": "live", "layers": [
        {"source": "input", "inEngNo": 1001, "viPort": 2, "showing": "frozen", "frozenAtMs": 3, "fr": 25,
         "rect": {"x": 0, "y": -1, "width": 64, "height": 48}, "width": 640, "height": 480,
         "part": {"x": 1, "y": 2, "width": 3, "height": 4}, "mirror": "both", "showMode": "fill", "opacity": 40},
        {"source": "decoder", "decStmNo": 4001, "showing": "live", "codec": 1, "frames": 9, "fr": 30,
         "owner": {"procName": "tour", "process": 812}, "rect": {"x": 0, "y": 0, "width": 1, "height": 1},
         "loop": {"encStmNo": 3001, "inEngNo": 1002, "file": "/a", "showing": "live"}}]})");
}

TEST(ReadScene, TakesWhatIsThere)
{
    const std::vector<Scene> scenes = ReadScenes({{"scenes", {Document()}}});
    ASSERT_EQ(scenes.size(), 1U);
    ASSERT_EQ(scenes[0].layers.size(), 2U);
    const Layer& input = scenes[0].layers[0];
    EXPECT_EQ(input.part, (Rect{1, 2, 3, 4}));
    EXPECT_EQ(input.window, input.rect);
    EXPECT_EQ(input.input.fr, 25U);
    EXPECT_EQ(input.showMode, ShowMode::kFill);
    EXPECT_TRUE(input.isMirroredHorizontally && input.isMirroredVertically);
    const Decoder& decoder = scenes[0].layers[1].decoder;
    EXPECT_EQ(decoder.owner, "tour[812]");
    ASSERT_TRUE(decoder.looped);
    EXPECT_EQ(decoder.looped->file, "/a");
    EXPECT_FALSE(decoder.looped->viPort);
}

TEST(ReadScene, NamesWhatIsWrong)
{
    struct Case {
        const char* path;
        const char* value;
        const char* error; ///< Its beginning.
    };
    for (const Case& wrong : std::initializer_list<Case>{
             {"", "7", "the scene: expected an object, not 7"},
             {"/layers", "{}", "layers: expected an array of at most 4096, not {}"},
             {"/layers/0", "[]", "layers[0]: expected an object, not []"},
             {"/layers/0", "{}", "layers[0].source is missing"},
             {"/layers/1/source", "\"\\u001b[2J\"", "layers[1].source: expected wallpaper, default image, "},
             {"/width", "8193", "width: expected a number from 0 to 8192, not 8193"},
             {"/atMs", "1e300", "atMs: expected a number from 0 to 9007199254740992, not 1e+300"},
             {"/name", "null", "name: expected a text, not null"},
             {"/showing", "\"seen\"", "showing: expected live, frozen, covered, outside, closed, disabled, "},
             {"/layers/0/viPort", "-1", "layers[0].viPort: expected a number from 0 to 4294967295, not -1"},
             {"/layers/0/opacity", "101", "layers[0].opacity: expected a number from 0 to 100, not 101"},
             {"/layers/0/rect/x", "0.5", "layers[0].rect.x: expected a number from -1073741824 to "},
             {"/layers/0/rect/x", "18446744073709551615", "layers[0].rect.x: expected a number from "},
             {"/layers/0/part/width", "-1", "layers[0].part.width: expected a number from 0 to 1073741823"},
             {"/layers/0/part/width", "1073741824",
              "layers[0].part.width: expected a number from 0 to 10737"},
             {"/layers/0/part", R"({"x": -1073741824, "y": 0, "height": 1, "width": 2147483648})",
              "layers[0].part.width: expected a number from 0 to 2147483647, not 2147483648"},
             {"/layers/0/mirror", "3", "layers[0].mirror: expected none, horizontally, vertically or both"},
             {"/layers/1/owner", "\"me\"", "layers[1].owner: expected an object, not \"me\""},
             {"/layers/1/loop/showing", "[[[]]]", "layers[1].loop.showing: expected live, frozen, "},
         }) {
        ordered_json document = Document();
        document[ordered_json::json_pointer(wrong.path)] = ordered_json::parse(wrong.value);
        try {
            ReadScene(document);
            ADD_FAILURE() << wrong.path << " may be " << wrong.value;
        } catch (const vesk::Error& error) {
            EXPECT_EQ(std::string(error.what()).substr(0, std::strlen(wrong.error)), wrong.error);
        }
    }
    ordered_json full = Document();
    full["layers"] = ordered_json(ordered_json::array_t(4097, full["layers"][0]));
    EXPECT_THROW(ReadScene(full), vesk::Error);
}

} // namespace
