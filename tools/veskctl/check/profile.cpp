// What a device does differently from what the interface allows every device.
#include "tools/veskctl/check/profile.h"

#include "base/file.h"
#include "base/toml_table.h"
#include "decoder/names.h"

namespace vesk::ctl::check {

Profile ReadProfile(const std::string& file)
{
    TomlTable table(FileContents(file), file);
    table.End();
    return {};
}

} // namespace vesk::ctl::check
