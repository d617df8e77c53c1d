// Pictures in terminals.
#include "tools/pictures/terminal.h"

#include "tools/veskctl/failure.h"

#ifdef VESK_HAS_CHAFA
#include "tools/veskctl/output_file.h"

#include <chafa.h>

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <memory>
#endif

namespace vesk::ctl {

#ifdef VESK_HAS_CHAFA

namespace {

template <auto release>
struct Release {
    template <class Thing>
    void operator()(Thing* thing) const
    {
        release(thing);
    }
};
template <class Thing, auto release>
using Owned = std::unique_ptr<Thing, Release<release>>;

using TermInfo = Owned<ChafaTermInfo, chafa_term_info_unref>;
using Config = Owned<ChafaCanvasConfig, chafa_canvas_config_unref>;
using Symbols = Owned<ChafaSymbolMap, chafa_symbol_map_unref>;
using Canvas = Owned<ChafaCanvas, chafa_canvas_unref>;

constexpr int kUsualColumns = 80;
constexpr int kCellWidth = 10; // pixels, where the terminal does not tell
constexpr int kCellHeight = 20;

/// How many characters a line of the terminal has, and how many pixels a character.
struct Cells {
    int columns = kUsualColumns;
    int width = kCellWidth;
    int height = kCellHeight;
};

Cells TerminalCells()
{
    Cells cells;
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
        return cells;
    cells.columns = size.ws_col;
    if (size.ws_xpixel >= size.ws_col && size.ws_ypixel >= size.ws_row) {
        cells.width = size.ws_xpixel / size.ws_col;
        cells.height = size.ws_ypixel / size.ws_row;
    }
    return cells;
}

TermInfo DetectTerminal()
{
    return TermInfo(chafa_term_db_detect(chafa_term_db_get_default(), environ));
}

ChafaPixelMode PixelModeOf(ChafaTermInfo* terminal)
{
    const std::pair<ChafaTermSeq, ChafaPixelMode> modes[] = {
        {CHAFA_TERM_SEQ_BEGIN_KITTY_IMMEDIATE_IMAGE_V1, CHAFA_PIXEL_MODE_KITTY},
        {CHAFA_TERM_SEQ_BEGIN_ITERM2_IMAGE, CHAFA_PIXEL_MODE_ITERM2},
        {CHAFA_TERM_SEQ_BEGIN_SIXELS, CHAFA_PIXEL_MODE_SIXELS}};
    for (const auto& [sequence, mode] : modes) {
        if (chafa_term_info_have_seq(terminal, sequence) != 0)
            return mode;
    }
    return CHAFA_PIXEL_MODE_SYMBOLS;
}

ChafaCanvasMode ColoursOf(ChafaTermInfo* terminal)
{
    const std::pair<ChafaTermSeq, ChafaCanvasMode> modes[] = {
        {CHAFA_TERM_SEQ_SET_COLOR_FGBG_DIRECT, CHAFA_CANVAS_MODE_TRUECOLOR},
        {CHAFA_TERM_SEQ_SET_COLOR_FGBG_256, CHAFA_CANVAS_MODE_INDEXED_240},
        {CHAFA_TERM_SEQ_SET_COLOR_FGBG_16, CHAFA_CANVAS_MODE_INDEXED_16},
        {CHAFA_TERM_SEQ_INVERT_COLORS, CHAFA_CANVAS_MODE_FGBG_BGFG}};
    for (const auto& [sequence, mode] : modes) {
        if (chafa_term_info_have_seq(terminal, sequence) != 0)
            return mode;
    }
    return CHAFA_CANVAS_MODE_FGBG;
}

Config ConfigFor(ChafaTermInfo* terminal, pictures::Size size)
{
    const Cells cells = TerminalCells();
    const int64_t rows =
        int64_t{cells.columns} * cells.width * size.height / (int64_t{size.width} * cells.height);
    Config config(chafa_canvas_config_new());
    chafa_canvas_config_set_geometry(config.get(), cells.columns,
                                     static_cast<int>(std::clamp<int64_t>(rows, 1, 1000)));
    chafa_canvas_config_set_cell_geometry(config.get(), cells.width, cells.height);
    chafa_canvas_config_set_pixel_mode(config.get(), PixelModeOf(terminal));
    chafa_canvas_config_set_canvas_mode(config.get(), ColoursOf(terminal));
    const Symbols symbols(chafa_symbol_map_new());
    chafa_symbol_map_add_by_tags(
        symbols.get(), static_cast<ChafaSymbolTags>(CHAFA_SYMBOL_TAG_BLOCK | CHAFA_SYMBOL_TAG_SPACE));
    chafa_canvas_config_set_symbol_map(config.get(), symbols.get());
    return config;
}

} // namespace

void ShowInTerminal(const pictures::Picture& picture)
{
    constexpr ChafaPixelType kPixels = std::endian::native == std::endian::little
                                           ? CHAFA_PIXEL_BGRA8_PREMULTIPLIED
                                           : CHAFA_PIXEL_ARGB8_PREMULTIPLIED;
    const auto width = static_cast<int>(picture.size.width), height = static_cast<int>(picture.size.height);
    const TermInfo terminal = DetectTerminal();
    const Canvas canvas(chafa_canvas_new(ConfigFor(terminal.get(), picture.size).get()));
    chafa_canvas_draw_all_pixels(canvas.get(), kPixels,
                                 reinterpret_cast<const guint8*>(picture.pixels.data()), width, height,
                                 width * static_cast<int>(sizeof picture.pixels[0]));
    GString* const text = chafa_canvas_print(canvas.get(), terminal.get());
    const std::string shown = std::string(text->str, text->len) + '\n';
    g_string_free(text, TRUE);
    WriteToOutput(shown);
}

#else

void ShowInTerminal(const pictures::Picture&)
{
    throw Failure(kFailed,
                  "this veskctl was built without libchafa, which shows pictures in terminals; give -o");
}

#endif

} // namespace vesk::ctl
