// The subcommand "device compare".
#include "tools/pictures/commands.h"
#include "tools/pictures/drawing.h"
#include "tools/pictures/likeness.h"
#include "tools/pictures/picture_file.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/failure.h"
#include "tools/veskctl/output.h"

namespace vesk::ctl {

namespace {

void Say(const Settings& settings, const CompareOptions& options, const pictures::Comparison& comparison)
{
    if (settings.json)
        PrintObject({{"expected", options.expected},
                     {"actual", options.actual},
                     {"similarity", comparison.similarity},
                     {"differentPixels", comparison.differentPixels}});
    else
        PrintLine(options.actual + ": " + LikenessText(comparison));
}

} // namespace

int ComparePictures(Settings& settings, const CompareOptions& options)
{
    if (!options.marked.empty())
        RequirePicturePath(options.marked);
    if (options.expected == "-" && options.actual == "-")
        throw Failure(kUsage, "only one of the pictures can be standard input");
    pictures::Files files;
    const pictures::Picture expected = ReadPicture(files, options.expected);
    const pictures::Picture actual = ReadPicture(files, options.actual);
    if (expected.size != actual.size)
        throw Failure(kFailed, options.actual + " has " + TextOf(actual.size) + " pixels, " +
                                   options.expected + " has " + TextOf(expected.size));
    const pictures::Comparison comparison = pictures::Compare(expected, actual);
    if (!options.marked.empty() && comparison.differentPixels != 0)
        WritePicture(options.marked, comparison.marked);
    if (options.marked != "-")
        Say(settings, options, comparison);
    if (!IsAlike(comparison, options.tolerance))
        throw Failure(kFailed, options.expected + " and " + options.actual + ' ' +
                                   DifferenceText(comparison, options.tolerance));
    return kDone;
}

} // namespace vesk::ctl
