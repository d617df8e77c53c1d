// The module that draws pictures for veskctl.
#include "tools/pictures/commands.h"
#include "tools/veskctl/program_text.h"

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED const char* const vesk_module_version = vesk::ctl::kVersion;
EXPORTED const vesk::ctl::PicturesModule vesk_module = {
    .screenshot = vesk::ctl::TakeScreenshot,
    .compare = vesk::ctl::ComparePictures,
    .record = vesk::ctl::RecordDisplay,
    .expect = vesk::ctl::ExpectPicture,
};
