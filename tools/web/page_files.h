// The files of the page, as they are installed.
#pragma once

#include "tools/web/answer.h"

#include <map>

namespace vesk::web {

class PageFiles {
public:
    /// Reads all of them. @throw Error if one cannot be read, or there is none
    PageFiles();

    /// The file of a path: "/" is index.html, scripts are below "/page". Null if there is none.
    const Answer* Find(const std::string& path) const;

private:
    std::map<std::string, Answer, std::less<>> files_; ///< By path.
};

} // namespace vesk::web
