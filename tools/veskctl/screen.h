// A terminal whose lines are shown anew again and again.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vesk::ctl {

/// Standard output as a screen, if it is one (see IsScreen), until the end of this object. Then the terminal
/// shows again what it showed before, also if the program is stopped, or ended by std::quick_exit. There is
/// one at a time.
class Screen {
public:
    Screen();
    ~Screen();
    Screen(const Screen&) = delete;

    /// Lines that fit; it changes with the terminal.
    static size_t Height();

    /// Whether there is a screen that shows nothing: before the first lines, and after the program was
    /// stopped.
    static bool IsEmpty();

    /// Shows lines in place of those before. What does not fit is cut off.
    void Show(const std::vector<std::string>& lines);
};

} // namespace vesk::ctl
