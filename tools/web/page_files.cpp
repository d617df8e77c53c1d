// The files of the page, as they are installed.
#include "tools/web/page_files.h"

#include "base/error.h"
#include "base/file.h"
#include "base/installed.h"

namespace vesk::web {

namespace {

/// Null for what is no file of a page.
const char* TypeOf(std::string_view name)
{
    static constexpr std::pair<std::string_view, const char*> kTypes[] = {
        {".html", "text/html; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".js", "text/javascript; charset=utf-8"},
        {".svg", "image/svg+xml"},
        {".png", "image/png"},
    };
    for (const auto& [end, type] : kTypes) {
        if (name.ends_with(end))
            return type;
    }
    return nullptr;
}

} // namespace

PageFiles::PageFiles()
{
    const InstalledFiles installed = Installed("web");
    for (const std::string& name : installed.names) {
        const char* const type = TypeOf(name);
        if (type == nullptr)
            continue;
        const auto content = std::make_shared<const std::string>(FileContents(installed.folder + '/' + name));
        files_[(name.ends_with(".js") ? "/page/" : "/") + name] = {200, type, content, TagOf(*content)};
    }
    const auto index = files_.find("/index.html");
    if (index == files_.end())
        throw Error("the files of the page are not installed");
    files_["/"] = index->second;
}

const Answer* PageFiles::Find(const std::string& path) const
{
    const auto file = files_.find(path);
    return file == files_.end() ? nullptr : &file->second;
}

} // namespace vesk::web
