// What needs libraries that the tool does without: modules, which are loaded when they are needed.
#pragma once

#include "tools/veskctl/settings.h"

#include <optional>
#include <string>

namespace vesk::ctl {

/// Options of "device screenshot".
struct ScreenshotOptions {
    std::optional<uint64_t> display; ///< Nothing: the first one.
    std::string file;                ///< Empty: display-N.png; - is standard output.
    std::string size;                ///< "1280x720", "1280x" or "x720"; empty: the display's.
    std::optional<uint64_t> atMs;    ///< Time of the device; nothing: the scene's.
    std::string scene;               ///< File of a saved scene or state; empty: the device's.
    std::optional<uint64_t> snapshot;
    bool isLiveOnly = false;
    bool isForTerminal = false;
};

/// Options of "device compare".
struct CompareOptions {
    std::string expected;
    std::string actual;
    std::string marked;   ///< File for the picture that marks differences; empty: none.
    double tolerance = 0; ///< Per cent.
};

/// Options of "device record".
struct RecordOptions {
    uint64_t display = 0;
    std::string file;
    std::string size;       ///< As above.
    double seconds = 0;     ///< 0: until a signal.
    uint32_t fr = 0;        ///< Pictures a second; 0: the display's, but at most 30.
    bool isStepped = false; ///< The recording moves the device's time.
};

/// A line "expect-picture" of "run".
struct ExpectedPicture {
    uint64_t display = 0;
    std::string file;
    std::string size; ///< As above.
    std::optional<uint64_t> atMs;
    double tolerance = 1;   ///< Per cent.
    bool isUpdated = false; ///< A file that is missing or differs is written.
};

/// What draws pictures.
struct PicturesModule {
    int (*screenshot)(Settings& settings, const ScreenshotOptions& options);
    int (*compare)(Settings& settings, const CompareOptions& options);
    int (*record)(Settings& settings, const RecordOptions& options);
    void (*expect)(Settings& settings, const ExpectedPicture& expected); ///< @throw Failure
};

/// @throw Failure if it is not installed, or of another version
const PicturesModule& Pictures();

/// Options of "web".
struct WebOptions {
    uint32_t port = 0; ///< 0: any that is free.
    bool isOpened = false;
};

/// What serves the device's page.
struct WebModule {
    int (*serve)(Settings& settings, const WebOptions& options);
};

/// @throw Failure as above
const WebModule& Web();

} // namespace vesk::ctl
