// What is installed together with the program that runs, or lies in the same build tree.
#pragma once

#include <string>
#include <vector>

namespace vesk {

/// The folder of the program that runs.
std::string ProgramFolder();

/// Files that are installed for those who name no other.
struct InstalledFiles {
    std::string folder;             ///< Empty if there is none.
    std::vector<std::string> names; ///< Sorted.
};

/// @param kind  "devices" or "scenarios"
InstalledFiles Installed(const std::string& kind);

/// The path of a file that a user names: that file, or else the installed one of that name; - stays.
/// @throw Error, which tells where it was looked for and what is there
std::string FindFile(const std::string& name, const std::string& kind);

} // namespace vesk
