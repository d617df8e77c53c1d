// The subcommand "device screenshot".
#include "tools/pictures/commands.h"
#include "tools/pictures/drawing.h"
#include "tools/pictures/picture_file.h"
#include "tools/pictures/scene_source.h"
#include "tools/pictures/terminal.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/failure.h"
#include "tools/veskctl/output.h"

namespace vesk::ctl {

namespace {

void Say(const Settings& settings, const std::string& file, pictures::Size size, uint64_t atMs)
{
    if (settings.json)
        PrintObject({{"file", file}, {"width", size.width}, {"height", size.height}, {"atMs", atMs}});
    else
        PrintLine(file + ": " + TextOf(size));
}

} // namespace

int TakeScreenshot(Settings& settings, const ScreenshotOptions& options)
{
    if (options.isForTerminal && settings.json)
        throw Failure(kUsage, "a picture in the terminal is no JSON; give one of --terminal and --json");
    if (!options.file.empty())
        RequirePicturePath(options.file);
    const pictures::Scene scene = FindScene(settings, options);
    const pictures::DrawOptions draw{SizeFrom(options.size, scene), options.isLiveOnly};
    const uint64_t atMs = options.atMs.value_or(scene.atMs);
    Drawing drawing;
    const pictures::Picture& picture = drawing.Draw(scene, atMs, draw);
    if (options.isForTerminal) {
        ShowInTerminal(picture);
        return kDone;
    }
    const std::string file =
        options.file.empty() ? "display-" + std::to_string(scene.voPort) + ".png" : options.file;
    WritePicture(file, picture);
    if (file != "-")
        Say(settings, file, picture.size, atMs);
    return kDone;
}

} // namespace vesk::ctl
