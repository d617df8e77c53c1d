// What the module does for the commands; each in the source of its name.
#pragma once

#include "tools/veskctl/modules.h"

namespace vesk::ctl {

int TakeScreenshot(Settings& settings, const ScreenshotOptions& options);
int ComparePictures(Settings& settings, const CompareOptions& options);
int RecordDisplay(Settings& settings, const RecordOptions& options);
void ExpectPicture(Settings& settings, const ExpectedPicture& expected);

} // namespace vesk::ctl
