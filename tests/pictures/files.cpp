// Files that need no program to be read: two pictures, of which one has transparent parts and one moves.
#include "pictures/files.h"

namespace vesk::pictures {

class Files::Readers {
public:
    Frame waves, logo;
};

namespace {

Frame Drawn(Size size, uint64_t number, uint32_t (*colour)(uint32_t x, uint32_t y))
{
    auto picture = std::make_shared<Picture>(size);
    for (uint32_t y = 0; y < size.height; ++y) {
        for (uint32_t x = 0; x < size.width; ++x)
            picture->pixels[y * size.width + x] = colour(x + 7 * static_cast<uint32_t>(number), y);
    }
    return {picture, "", number};
}

uint32_t Wave(uint32_t x, uint32_t y)
{
    return 0xff000000U | (x / 2 & 0xffU) << 16U | (y & 0x80U) << 8U | ((x + y) % 64 < 32 ? 0xffU : 0x40U);
}

uint32_t Disc(uint32_t x, uint32_t y)
{
    const int across = int(x) - 50, down = int(y) - 50, square = across * across + down * down;
    return square < 900 ? 0xffff8000U : square < 2500 ? 0x80004080U : 0;
}

} // namespace

Files::Files(std::string) : readers_(std::make_unique<Readers>()) {}

Files::~Files() = default;

Frame Files::At(const std::string& path, uint64_t atMs)
{
    const uint64_t number = atMs / 500;
    if (path == "/waves.png" && (readers_->waves.picture == nullptr || readers_->waves.number != number))
        readers_->waves = Drawn({400, 300}, number, Wave);
    if (path == "/logo.png" && readers_->logo.picture == nullptr)
        readers_->logo = Drawn({100, 100}, 0, Disc);
    return path == "/waves.png"  ? readers_->waves
           : path == "/logo.png" ? readers_->logo
                                 : Frame{nullptr, "no such file", 0};
}

} // namespace vesk::pictures
