// A file that takes the place of another one once it is complete.
#pragma once

#include "base/descriptor.h"

#include <string>

namespace vesk {

/**
 * What is written beside a file and then becomes it, so that the file has its old contents or all of the new
 * ones. Where a link leads is replaced, not the link. Pipes, devices and standard output are written at once.
 */
class Replacement {
public:
    /// @param path  - is standard output. @throw Error
    explicit Replacement(const std::string& path);
    /// Removes what is not kept.
    ~Replacement();
    Replacement(const Replacement&) = delete;

    int Get() const { return file_.Get(); }

    /// Puts it in the file's place. @throw Error
    void Keep();

private:
    Descriptor Open();

    std::string path_;
    std::string temporary_; ///< Its path until it is kept; empty if it is written at once.
    Descriptor file_;
};

} // namespace vesk
