// A recording that is written event by event.
#pragma once

#include "tools/recording/event.h"

namespace vesk::recording {

/// The file, pipe or standard output that a recording goes to. The process no longer gets SIGPIPE.
class Output {
public:
    /// @param path     Created, or emptied; - is standard output. A named pipe is waited for until it is
    /// read.
    /// @param comment  What is recorded. @throw Error
    Output(const std::string& path, std::string_view application, std::string_view comment);
    ~Output();
    Output(const Output&) = delete;

    /// Writes an event at once; its data only if it is whole. Does nothing after an error, or once nobody
    /// reads the pipe. @throw Error if it cannot be written
    void Append(const Event& event);

    /// False once nobody reads the pipe, or after an error.
    bool IsRead() const;

private:
    /// @param error  What a function of the writer returned.
    void Check(int error);

    std::string name_;
    int file_;
    bool isRead_ = true;
};

} // namespace vesk::recording
