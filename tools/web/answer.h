// What is asked for over HTTP, and what is answered.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vesk::web {

using Body = std::shared_ptr<const std::string>;

struct Request {
    std::string method;
    std::string path;
    std::vector<std::pair<std::string, std::string>> headers;
    std::vector<std::pair<std::string, std::string>> arguments; ///< Of the query.
    std::string body;

    /// Of the first header of this name, whatever the case of its letters; empty if there is none.
    std::string_view Header(std::string_view name) const;
    /// Of the first argument of this name; null if there is none.
    const std::string* Argument(std::string_view name) const;
    bool IsPost() const { return method == "POST"; }
};

struct Answer {
    unsigned status = 200;
    std::string type; ///< Empty if there is no content.
    Body body;        ///< Null if there is no content.
    std::string tag;  ///< Whoever has the content with this tag is not sent it again. Empty: it has none.
    std::vector<std::pair<std::string, std::string>> headers{};
};

Answer TextAnswer(unsigned status, const std::string& text);

/// A JSON document that is complete already.
Answer JsonAnswer(std::string document, unsigned status = 200);

/// A tag that contents have in common only with the same ones.
std::string TagOf(std::string_view content);

/// The answer without its content if the client has it.
Answer OrNotModified(const Request& request, Answer answer);

} // namespace vesk::web
