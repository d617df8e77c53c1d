// Turns messages into names and fields, and back.
#pragma once

#include "base/bytes.h"
#include "decoder/names.h"
#include "decoder/records.h"

#include <span>
#include <string>
#include <variant>
#include <vector>

namespace vesk::decoder {

enum class Direction { kRequest, kAnswer, kNotification };

/// A message: the data block of an envelope, which is the 24-byte header and the payload, of any length.
struct Message {
    Direction direction;
    uint32_t number; ///< The envelope's msgId; for an answer, that of its request.
    BytesView data;
};

/// A value: unsigned, signed, floating-point, text up to its NUL, or opaque bytes.
using Value = std::variant<uint64_t, int64_t, double, std::string, Bytes>;

/// One field of a message.
struct Field {
    std::string path; ///< "outEngNo", "subPic[0].inputId", in an array of records "[0].port"
    Value value;
    size_t offset = 0;            ///< In the data block; the payload begins at 24.
    size_t size = 0;              ///< Bytes in the data block.
    std::string_view record = {}; ///< Record that it is a field of, which the decoder owns; empty if of none.
    bool isHandle = false;        ///< A number that is shown in hexadecimal.
    bool isFiller = false;        ///< Padding, reserved or opaque, which is shown unless it is 0.

    bool IsPayload() const { return offset >= sizeof(VeskVideoMsgHead); }
    bool IsZero() const;
    bool IsShown() const;
    /// "inputId" of "subPic[0].inputId", without an index.
    std::string_view LastName() const;
};

/// A message in names and fields. The names belong to the program and never go away.
struct Decoded {
    Direction direction;
    uint32_t number;
    std::string_view name;     ///< Short name, as ShortName gives it; empty if the number is not listed.
    std::string_view function; ///< Function of a request; empty for notifications.
    uint32_t result = 0;       ///< Result code of an answer.
    std::vector<Field> fields; ///< Arguments in the header first, then the payload.
    std::string problem;       ///< What is wrong with the message's length or form; empty if nothing is.

    /// Its name; its number if it has none.
    std::string Title() const { return name.empty() ? std::to_string(number) : std::string(name); }
};

/// A field and its value as text, to be encoded.
struct Assignment {
    std::string path;
    std::string value;
};

/// What a field of the header carries in a message.
struct HeaderArgument {
    std::string_view name; ///< Name of the argument; of the header's field if it carries none.
    size_t offset;         ///< In the header.
    size_t size;
    uint64_t limit; ///< Highest value of an unsigned argument.
    messages::HeaderField field;
    bool isListed = false; ///< False if it carries no argument; it is shown only if it is not 0.
    bool isSigned = false;
    bool isHandle = false;
};

/// A message as the list describes it, in one direction.
struct Listing {
    Direction direction;
    uint32_t number;
    std::string_view name;                 ///< Short name.
    std::string_view fullName;             ///< "VESK_VIDEO_MSG_VO_START"
    std::string_view function;             ///< Empty for notifications.
    std::vector<HeaderArgument> arguments; ///< Without uwSubMsgID in an answer, which holds the result.
    const messages::Form* form;            ///< What follows the header.
};

/// What the headers say of a request.
struct RequestText {
    uint32_t request;
    std::string_view summary; ///< What it does, in a sentence or two.
    std::string_view needs;   ///< What must come before it; empty for control requests.
};

/// Null for requests that are not listed.
const RequestText* RequestTextOf(uint32_t request);

/// A value that has a name.
struct ValueWithName {
    std::string_view field; ///< Last name of the fields in which it has the name,
    uint64_t value;
    std::string_view name;
    std::string_view record = {};   ///< which may be those of one record only.
    bool isVirtualServices = false; ///< Only if the peer is the virtual service.
};

/// All values that have names.
std::span<const ValueWithName> ValuesWithNames();

/// Where a field lies in a message, and which values it can have.
struct Place {
    std::string path;        ///< Of the field in which Decode shows it; empty if it shows several.
    std::string_view name;   ///< Its last name.
    std::string_view record; ///< Record that it is a field of, which the decoder owns; empty if of none.
    size_t offset = 0;       ///< In the data block.
    size_t size = 0;         ///< Bytes of all elements; the most, if it is open.
    size_t count = 1;        ///< Elements.
    ElementKind kind = ElementKind::kUnsigned;
    bool isArray = false;          ///< An array as a whole, which is given as "1,2,3".
    bool isOpaque = false;         ///< Bytes.
    bool isOpen = false;           ///< As many bytes as there are: "data", "rest".
    uint64_t limit = UINT64_MAX;   ///< Highest unsigned number; characters of a text.
    size_t mostEntries = SIZE_MAX; ///< If this is the number of entries of an array.
    std::optional<size_t> entry;   ///< Index of the entry that it is in, if the payload is an array.
    std::string problem;           ///< Why the message has no such field; empty if it has.

    /// True if some value of the field has exactly these bytes; some NaNs have none.
    bool Holds(BytesView bytes) const;
};

/**
 * The decoder. It is immutable: any number of threads may use one.
 *
 * It never reads past the length of what it is given, and decodes messages of any length and contents.
 */
class Decoder {
public:
    /// Whose layout opaque records have.
    enum class Peer { kVirtualService, kUnknown };

    /// Which fields that are 0 are shown: all but fillers, or all.
    enum class Zeros { kWithoutFillers, kAll };

    /// @param recordFiles  Files with further descriptions, in the form that RecordSet describes. @throw
    /// Error
    explicit Decoder(Peer peer = Peer::kVirtualService, const std::vector<std::string>& recordFiles = {},
                     Zeros zeros = Zeros::kWithoutFillers);

    Decoded Decode(const Message& message) const;

    /**
     * Builds the data block, header and payload, of a message.
     *
     * Arguments in the header are required, except the number of entries of an array, which follows from the
     * entries. So is a text, which is called "text". Payload fields that are not given are 0. An opaque
     * payload is called "data"; it and opaque fields are given in hexadecimal, as is shown. In an answer,
     * "result" is the result code, 0 if it is not given.
     *
     * @throw Error if something is missing, unknown, given twice, of the wrong type or out of range
     */
    Bytes Encode(Direction direction, uint32_t number, const std::vector<Assignment>& assignments) const;

    /// The same with a payload whose bytes are given, of any length; nothing is required. The number need not
    /// be listed. Header fields that carry no argument are set by their own names, as in ulParam1=5.
    Bytes EncodeRaw(Direction direction, uint32_t number, const std::vector<Assignment>& assignments,
                    BytesView payload) const;

    /// Where the field lies that an assignment with this path sets.
    Place Locate(const Listing& listing, std::string_view path) const;

    /// The bytes of a value in its place: of opaque bytes and arrays as far as they are given, of a text with
    /// its NUL. @throw Error if there is no such place, or the value does not fit
    Bytes EncodeValue(const Listing& listing, const Place& place, const Assignment& assignment) const;

    /// What the list says about a message. If it has none of this number, names are empty and the form is
    /// null.
    Listing Describe(Direction direction, uint32_t number) const;

    /// The record that a payload consists of, or whose entries it consists of, as it is shown; null if it has
    /// none.
    const RecordType* PayloadRecord(const Listing& listing) const;

    const RecordSet& Records() const { return records_; }

    /// "CAM_CTRL_QUERY" for 16 in a field whose last name is "cmdType"; empty if the value has no name.
    std::string_view ValueName(const Field& field) const;

    /// The reverse.
    std::optional<uint64_t> NamedValue(const Place& place, std::string_view name) const;

private:
    /// True if the value has its name in the fields of this name in this record.
    bool IsNamed(const ValueWithName& known, std::string_view record, std::string_view field) const;

    RecordSet records_;
    Peer peer_;
    Zeros zeros_;
};

} // namespace vesk::decoder
