// Texts that a command writes to a file which the user names, or to one in memory.
#pragma once

#include "base/descriptor.h"

#include <string>
#include <string_view>

namespace vesk::ctl {

class OutputFile {
public:
    /// @param path  Created if it is not there; - is standard output. @throw Error
    explicit OutputFile(const std::string& path);

    /// Replaces what the file holds. @throw Error, or as PutLines
    void Write(std::string_view text);

private:
    std::string path_;
    Descriptor file_; ///< None: standard output.
};

/// A text as a file that has a path, also for programs that this one starts.
class MemoryFile {
public:
    /// @throw Error
    explicit MemoryFile(std::string_view text);
    std::string Path() const;

private:
    Descriptor file_;
};

/// Writes everything to an open file. @param name  What it is in an error. @throw Error
void WriteAll(int file, std::string_view bytes, const std::string& name);

/// Writes bytes to standard output as they are. @throw Error
void WriteToOutput(std::string_view bytes);

} // namespace vesk::ctl
