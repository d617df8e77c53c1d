// The module that serves the device's page for veskctl.
#include "tools/veskctl/program_text.h"
#include "tools/web/web.h"

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED const char* const vesk_module_version = vesk::ctl::kVersion;
EXPORTED const vesk::ctl::WebModule vesk_module = {.serve = vesk::ctl::ServeWeb};
