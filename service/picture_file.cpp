// Pictures and films that clients name by a path, as far as the model has to know them.
#include "service/picture_file.h"

#include "base/descriptor.h"
#include "base/error.h"
#include "service/device_description.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>

namespace vesk::service {

namespace {

constexpr size_t kMostRead = 256;     // headers are shorter
constexpr uint32_t kDefaultRate = 30; // frames per second, if neither the file nor its port says how many
constexpr std::string_view kPngStart("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
constexpr std::string_view kY4mStart = "YUV4MPEG2 ";

/// Opening a device could do something to it, so the path is looked at before.
Descriptor OpenRegular(const std::string& path)
{
    const auto check = [&](int result, const struct stat& status) {
        if (result != 0)
            throw Error(path + ": " + std::strerror(errno));
        if (!S_ISREG(status.st_mode))
            throw Error(path + ": not a regular file");
    };
    struct stat status {};
    check(stat(path.c_str(), &status), status);
    Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.IsOpen())
        throw Error(path + ": " + std::strerror(errno));
    check(fstat(file.Get(), &status), status);
    return file;
}

std::string StartOf(const std::string& path)
{
    const Descriptor file = OpenRegular(path);
    std::string start(kMostRead, '\0');
    const ssize_t length = read(file.Get(), start.data(), start.size());
    if (length < 0)
        throw Error(path + ": " + std::strerror(errno));
    start.resize(static_cast<size_t>(length));
    return start;
}

uint32_t BigEndian(std::string_view bytes)
{
    uint32_t number = 0;
    for (const char byte : bytes)
        number = number << 8U | static_cast<uint8_t>(byte);
    return number;
}

/// 0 if it begins with no number; takes what it has read from the text.
uint32_t TakeNumber(std::string_view& text)
{
    uint32_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<size_t>(result.ptr - text.data()));
    return number;
}

/// "W640 H480 F30000:1001 Ip"; of a rate, the whole number next to it.
VeskControlMode Y4mMode(std::string_view parameters)
{
    VeskControlMode mode{};
    parameters = parameters.substr(0, parameters.find('\n'));
    while (!parameters.empty()) {
        const char name = parameters[0];
        parameters.remove_prefix(1);
        std::string_view value = parameters.substr(0, parameters.find(' '));
        parameters.remove_prefix(std::min(value.size() + 1, parameters.size()));
        const uint64_t number = TakeNumber(value);
        if (name == 'W')
            mode.width = static_cast<uint32_t>(number);
        if (name == 'H')
            mode.height = static_cast<uint32_t>(number);
        value.remove_prefix(std::min<size_t>(1, value.size())); // the colon
        const uint64_t divisor = name == 'F' ? TakeNumber(value) : 0;
        if (number != 0 && divisor != 0)
            mode.fr = static_cast<uint32_t>(std::max<uint64_t>((number + divisor / 2) / divisor, 1));
    }
    return mode;
}

/// 0 for what the start of a file does not say.
VeskControlMode ModeIn(std::string_view start)
{
    if (start.starts_with(kPngStart) && start.size() >= kPngStart.size() + 8)
        return {BigEndian(start.substr(kPngStart.size(), 4)),
                BigEndian(start.substr(kPngStart.size() + 4, 4)), 0};
    if (start.starts_with(kY4mStart))
        return Y4mMode(start.substr(kY4mStart.size()));
    return {};
}

} // namespace

VeskControlMode ModeOfFile(const std::string& path, const VeskControlMode& otherwise)
{
    if (path[0] != '/')
        throw Error(path + ": expected an absolute path");
    const VeskControlMode said = ModeIn(StartOf(path));
    VeskControlMode mode = otherwise;
    if (said.width != 0 || said.height != 0) {
        mode.width = said.width;
        mode.height = said.height;
    }
    if (said.fr != 0)
        mode.fr = said.fr;
    else if (mode.fr == 0)
        mode.fr = kDefaultRate;
    if (mode.width == 0 && mode.height == 0)
        throw Error(path + ": neither the file nor the port says how large the picture is");
    if (!IsPicture(mode))
        throw Error(path + ": expected a picture of " + kPictureRange + ", not " +
                    std::to_string(mode.width) + 'x' + std::to_string(mode.height) + '@' +
                    std::to_string(mode.fr));
    return mode;
}

} // namespace vesk::service
