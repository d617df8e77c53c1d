// Which messages a user wants to see.
#pragma once

#include "decoder/decoder.h"

#include <initializer_list>

namespace vesk::decoder {

/**
 * A choice of messages by terms:
 *
 *     VO_START          a name of a request or notification, with or without prefix, or a function's
 *     VO_*              names that match a pattern
 *     27                a number
 *     outEngNo=1        a field's value; the last name of a path is enough: inputId=2
 *     result=BUSY       the result of an answer
 *
 * A message matches if it has one of the names or numbers, when there are any, and all of the values. A value
 * may be given as it is shown, without quotes or index; a text may be a pattern.
 */
class Filter {
public:
    Filter() = default; ///< Matches everything.

    /// @throw Error if a name is not known, or no message with one of the names can have one of the values
    Filter(const Decoder& decoder, const std::vector<std::string>& terms);

    /// For a message that is at hand: any field may be named. @throw Error if a name is not known
    static Filter OfOneMessage(const Decoder& decoder, const std::vector<std::string>& terms);

    /// Only names of notifications and of their fields. @throw Error
    static Filter OfNotifications(const Decoder& decoder, const std::vector<std::string>& terms);

    /// Of a request and its answer, one must have the name, and one must have each value. @p answer may be
    /// null.
    bool Matches(const Decoded& message, const Decoded* answer = nullptr) const;

private:
    Filter(const Decoder& decoder, const std::vector<std::string>& terms,
           std::initializer_list<Direction> directions);
    bool HasName(const Decoded& message) const;
    bool HasValue(const Decoded& message, const Assignment& condition) const;

    const Decoder* decoder_ = nullptr;
    std::vector<std::string> names_;
    std::vector<Assignment> conditions_;
};

} // namespace vesk::decoder
