// What is asked for over HTTP, and what is answered.
#include "tools/web/answer.h"

#include "base/text.h"

#include <functional>

namespace vesk::web {

std::string_view Request::Header(std::string_view name) const
{
    for (const auto& [known, value] : headers) {
        if (SameText(known, name))
            return value;
    }
    return {};
}

const std::string* Request::Argument(std::string_view name) const
{
    for (const auto& [known, value] : arguments) {
        if (known == name)
            return &value;
    }
    return nullptr;
}

Answer TextAnswer(unsigned status, const std::string& text)
{
    return {status, "text/plain; charset=utf-8", std::make_shared<const std::string>(text + '\n'), ""};
}

Answer JsonAnswer(std::string document, unsigned status)
{
    return {status, "application/json", std::make_shared<const std::string>(std::move(document)), ""};
}

std::string TagOf(std::string_view content)
{
    char tag[40];
    std::snprintf(tag, sizeof tag, "\"%zx-%zx\"", content.size(), std::hash<std::string_view>()(content));
    return tag;
}

Answer OrNotModified(const Request& request, Answer answer)
{
    const std::string_view known = request.Header("If-None-Match");
    const bool isKnown = known == "*" || (!answer.tag.empty() && known.find(answer.tag) != known.npos);
    if (answer.status != 200 || answer.tag.empty() || !isKnown)
        return answer;
    answer.status = 304;
    answer.body = nullptr;
    answer.type.clear();
    return answer;
}

} // namespace vesk::web
