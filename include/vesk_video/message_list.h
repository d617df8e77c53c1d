/**
 * @file
 * The list of messages (messages.def) for C++: as tables to search at run time, and as types to check at
 * compile time. Header-only. C programs get the message numbers from messages.h.
 */
#ifndef VESK_VIDEO_MESSAGE_LIST_H
#define VESK_VIDEO_MESSAGE_LIST_H

#include "vesk_video/messages.h"

#ifdef __cplusplus

#include "vesk_video/vesk_video.h"

/**
 * @ingroup numbers
 * The list of messages for C++: what each request and notification carries.
 */
namespace vesk::messages {

/** A field of the header that carries an argument. */
enum class HeaderField { kSubMsgID, kParam1, kParam2 };

/** The value of a header field. */
constexpr uint64_t ValueOf(const VeskVideoMsgHead& head, HeaderField field)
{
    switch (field) {
    case HeaderField::kSubMsgID:
        return head.uwSubMsgID;
    case HeaderField::kParam1:
        return head.ulParam1;
    default:
        return head.ulParam2;
    }
}

/** What follows the header of a message. */
enum class Kind {
    kNone,      /**< Nothing. */
    kRecord,    /**< One record, or one number if it has a name. */
    kArray,     /**< An array of records; a header field holds their number. */
    kText,      /**< A NUL-terminated text. */
    kBytes,     /**< Any number of bytes. */
    kUnanswered /**< Answers only: the request is asynchronous. */
};

/** Payload or answer of a message, as a table entry. */
struct Form {
    Kind kind;         /**< What it consists of. */
    size_t size;       /**< Bytes of the record, of one entry of the array, or of the longest text. */
    const char* type;  /**< C type of the record, number or entry; empty for the other kinds. */
    const char* name;  /**< Name of a number; empty for the other kinds. */
    HeaderField count; /**< Header field that holds the number of entries of an array. */
};

/** Payload or answer of @ref Kind::kNone, as a type. */
struct Nothing {
    static constexpr Form kForm{Kind::kNone, 0, "", "", {}}; /**< As a table entry. */
};
/** Payload or answer of @ref Kind::kRecord, as a type. */
template <class T>
struct Record {
    static constexpr Form kForm{Kind::kRecord, sizeof(T), "", "", {}}; /**< As a table entry. */
};
/** Payload or answer of @ref Kind::kArray, as a type. */
template <class T, HeaderField count>
struct Array {
    static constexpr Form kForm{Kind::kArray, sizeof(T), "", "", count}; /**< As a table entry. */
};
/** Payload or answer of @ref Kind::kText, as a type. */
template <size_t size>
struct Text {
    static constexpr Form kForm{Kind::kText, size, "", "", {}}; /**< As a table entry. */
};
/** Payload or answer of @ref Kind::kBytes, as a type. */
struct Bytes {
    static constexpr Form kForm{Kind::kBytes, 0, "", "", {}}; /**< As a table entry. */
};
/** Payload or answer of @ref Kind::kUnanswered, as a type. */
struct Unanswered {
    static constexpr Form kForm{Kind::kUnanswered, 0, "", "", {}}; /**< As a table entry. */
};
/** An argument that travels in the header. */
struct Argument {
    const char* text; /**< Text in the list: a C type, unless it is unsigned, and a name; "-" for none. */

    /** True if the field carries an argument. */
    constexpr bool IsUsed() const { return text[0] != '-'; }

    /** True if it is a pointer, of which only the address travels. */
    constexpr bool IsPointer() const
    {
        const char* c = text;
        while (*c != '\0' && *c != '*')
            ++c;
        return *c == '*';
    }

    /** True if it is signed. */
    constexpr bool IsSigned() const { return text[0] == 'i' && text[1] == 'n' && text[2] == 't'; }

    /** Name without the C type; "-" for none. */
    constexpr const char* Name() const
    {
        const char* name = text;
        for (const char* c = text; *c != '\0'; ++c) {
            if (*c == ' ')
                name = c + 1;
        }
        return name;
    }
};

/** One request of the list. */
struct Request {
    uint16_t number;       /**< Request number. */
    const char* name;      /**< Name as in the log lines: "VESK_VIDEO_MSG_VO_START". */
    const char* function;  /**< Exported function that sends it: "VeskVideoVoStart". */
    Argument arguments[3]; /**< Indexed by HeaderField. */
    Form payload;          /**< What follows the header. */
    Form answer;           /**< What follows the header of the answer. */

    /** The argument in a header field. */
    constexpr const Argument& At(HeaderField field) const { return arguments[static_cast<size_t>(field)]; }
};

/** One notification of the list. */
struct Notification {
    uint16_t number;       /**< Notification number. */
    const char* name;      /**< Name as in the log lines. */
    Argument arguments[3]; /**< Indexed by HeaderField; the first is never used. */
    Form payload;          /**< What follows the header. */

    /** The argument in a header field. */
    constexpr const Argument& At(HeaderField field) const { return arguments[static_cast<size_t>(field)]; }
};

/** Payload, answer and sending function of a request, as types. */
template <uint32_t request>
struct RequestTypes;

/** @cond macros that turn the words of this list, and of others of its form, into table entries and types */
#define VESK_FORM(type, typeName, name)                                                                      \
    {                                                                                                        \
        type::kForm.kind, type::kForm.size, typeName, name, type::kForm.count                                \
    }
#define VESK_FORM_NONE VESK_FORM(Nothing, "", "")
#define VESK_FORM_RECORD(type) VESK_FORM(Record<type>, #type, "")
#define VESK_FORM_SCALAR(type, name) VESK_FORM(Record<type>, #type, #name)
#define VESK_FORM_ARRAY(type, field)                                                                         \
    {                                                                                                        \
        Kind::kArray, sizeof(type), #type, "", VESK_FIELD_##field                                            \
    }
#define VESK_FORM_TEXT(size) VESK_FORM(Text<size>, "", "")
#define VESK_FORM_BYTES VESK_FORM(Bytes, "", "")
#define VESK_FORM_UNANSWERED VESK_FORM(Unanswered, "", "")

#define VESK_TYPE_NONE Nothing
#define VESK_TYPE_RECORD(type) Record<type>
#define VESK_TYPE_SCALAR(type, name) Record<type>
#define VESK_TYPE_ARRAY(type, field) Array<type, VESK_FIELD_##field>
#define VESK_TYPE_TEXT(size) Text<size>
#define VESK_TYPE_BYTES Bytes
#define VESK_TYPE_UNANSWERED Unanswered

#define VESK_FIELD_uwSubMsgID HeaderField::kSubMsgID
#define VESK_FIELD_ulParam1 HeaderField::kParam1
#define VESK_FIELD_ulParam2 HeaderField::kParam2

#define VESK_REQUEST(name, number, function, sub, param1, param2, payload, answer)                           \
    template <>                                                                                              \
    struct RequestTypes<name> {                                                                              \
        using Function = decltype(function);                                                                 \
        using Payload = VESK_TYPE_##payload;                                                                 \
        using Answer = VESK_TYPE_##answer;                                                                   \
    };
#include "vesk_video/messages.def"
/** @endcond */

/** All requests, family by family. */
inline constexpr Request kRequests[] = {
#define VESK_REQUEST(name, number, function, sub, param1, param2, payload, answer)                           \
    {name, #name, #function, {{#sub}, {#param1}, {#param2}}, VESK_FORM_##payload, VESK_FORM_##answer},
#include "vesk_video/messages.def"
};

/** All notifications, in the order of the library's dispatch table. */
inline constexpr Notification kNotifications[] = {
#define VESK_NOTIFICATION(name, number, param1, param2, payload)                                             \
    {name, #name, {{"-"}, {#param1}, {#param2}}, VESK_FORM_##payload},
#include "vesk_video/messages.def"
};

/** Finds a request by its number; null if there is none. */
constexpr const Request* FindRequest(uint32_t number)
{
    for (const Request& request : kRequests) {
        if (request.number == number)
            return &request;
    }
    return nullptr;
}

/** Finds a notification by its number; null if there is none. */
constexpr const Notification* FindNotification(uint32_t number)
{
    for (const Notification& notification : kNotifications) {
        if (notification.number == number)
            return &notification;
    }
    return nullptr;
}

} // namespace vesk::messages

#endif

#endif
