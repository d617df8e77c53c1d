// The line "expect-picture" of "run".
#include "tools/pictures/commands.h"
#include "tools/pictures/drawing.h"
#include "tools/pictures/likeness.h"
#include "tools/pictures/picture_file.h"
#include "tools/pictures/scene_source.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/failure.h"
#include "tools/veskctl/output.h"

#include <filesystem>

namespace vesk::ctl {

using pictures::Comparison;
using pictures::Picture;

namespace {

namespace fs = std::filesystem;

/// The name of a picture that is left beside the expected one: "first-frame-actual.png".
std::string Beside(const std::string& file, const char* ending)
{
    const fs::path path(file);
    return (path.parent_path() / path.stem()).string() + ending;
}

void Say(const Settings& settings, const ExpectedPicture& expected, const Comparison* comparison)
{
    if (!settings.json) {
        PrintLine(expected.file + ": " + (comparison == nullptr ? "written" : LikenessText(*comparison)));
        return;
    }
    Members members{{"display", expected.display}, {"expected", expected.file}};
    if (comparison != nullptr) {
        members.emplace_back("similarity", comparison->similarity);
        members.emplace_back("differentPixels", comparison->differentPixels);
    } else {
        members.emplace_back("written", expected.file);
    }
    PrintObject(members);
}

void Update(const Settings& settings, const ExpectedPicture& expected, const Picture& actual)
{
    WritePicture(expected.file, actual);
    Say(settings, expected, nullptr);
}

/// Leaves pictures for whoever looks into it. @throw Failure
[[noreturn]] void Differ(const ExpectedPicture& expected, const Picture& actual, const Picture* marked,
                         const std::string& how)
{
    const std::string actualFile = Beside(expected.file, "-actual.png");
    std::string left = actualFile;
    WritePicture(actualFile, actual);
    if (marked != nullptr) {
        const std::string markedFile = Beside(expected.file, "-differs.png");
        WritePicture(markedFile, *marked);
        left += " and " + markedFile;
    }
    throw Failure(kFailed, expected.file + " and display " + std::to_string(expected.display) + ' ' + how +
                               "; see " + left);
}

} // namespace

void ExpectPicture(Settings& settings, const ExpectedPicture& expected)
{
    if (expected.file == "-")
        throw Failure(kUsage, "expect-picture: expected a file, not -");
    RequirePicturePath(expected.file);
    const pictures::Scene scene = SceneOfDisplay(settings, expected.display);
    Drawing drawing;
    const Picture& actual =
        drawing.Draw(scene, expected.atMs.value_or(scene.atMs), {.size = SizeFrom(expected.size, scene)});
    std::error_code unknown; // then it is read, which says what is wrong
    if (!fs::exists(expected.file, unknown) && !unknown) {
        if (expected.isUpdated)
            return Update(settings, expected, actual);
        throw Failure(kFailed,
                      expected.file + ": there is no such picture; 'veskctl run --update' writes it");
    }
    const Picture wanted = ReadPicture(drawing.Files(), expected.file);
    if (wanted.size != actual.size) {
        if (expected.isUpdated)
            return Update(settings, expected, actual);
        Differ(expected, actual, nullptr,
               "differ in size: " + TextOf(wanted.size) + " and " + TextOf(actual.size));
    }
    const Comparison comparison = pictures::Compare(wanted, actual);
    if (IsAlike(comparison, expected.tolerance))
        return Say(settings, expected, &comparison);
    if (expected.isUpdated)
        return Update(settings, expected, actual);
    Differ(expected, actual, &comparison.marked,
           DifferenceText(comparison, expected.tolerance) + ": " + LikenessText(comparison));
}

} // namespace vesk::ctl
