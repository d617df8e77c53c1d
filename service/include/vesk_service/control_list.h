/**
 * @file
 * The list of control messages (control.def) for C++, in the form of the interface's list of messages.
 */
#ifndef VESK_SERVICE_CONTROL_LIST_H
#define VESK_SERVICE_CONTROL_LIST_H

#include "vesk_service/control.h"

#ifdef __cplusplus

#include "vesk_video/message_list.h"

namespace vesk::messages {

/** @cond types of the requests */
#define VESK_CONTROL_REQUEST(name, number, sub, param1, param2, payload, answer)                             \
    template <>                                                                                              \
    struct RequestTypes<name> {                                                                              \
        using Payload = VESK_TYPE_##payload;                                                                 \
        using Answer = VESK_TYPE_##answer;                                                                   \
    };
#include "vesk_service/control.def"
/** @endcond */

/** All control requests; no function sends them. */
inline constexpr Request kControlRequests[] = {
#define VESK_CONTROL_REQUEST(name, number, sub, param1, param2, payload, answer)                             \
    {name, #name, "", {{#sub}, {#param1}, {#param2}}, VESK_FORM_##payload, VESK_FORM_##answer},
#include "vesk_service/control.def"
};

/** All control notifications. */
inline constexpr Notification kControlNotifications[] = {
#define VESK_CONTROL_NOTIFICATION(name, number, payload)                                                     \
    {name, #name, {{"-"}, {"-"}, {"-"}}, VESK_FORM_##payload},
#include "vesk_service/control.def"
};

/** True for a control message's number. */
constexpr bool IsControl(uint32_t number)
{
    return number >= 0x4000;
}

/** Finds a request of the interface or a control request by its number; null if there is none. */
constexpr const Request* FindAnyRequest(uint32_t number)
{
    for (const Request& request : kControlRequests) {
        if (request.number == number)
            return &request;
    }
    return FindRequest(number);
}

/** The same for notifications. */
constexpr const Notification* FindAnyNotification(uint32_t number)
{
    for (const Notification& notification : kControlNotifications) {
        if (notification.number == number)
            return &notification;
    }
    return FindNotification(number);
}

} // namespace vesk::messages

#endif

#endif
