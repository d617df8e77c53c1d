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

/** What the value of an effect is. */
enum class ControlValue { kNone, kResult, kMilliseconds, kLength };

/** An effect of faults. */
struct ControlEffect {
    const char* name;         /**< In the words of people. */
    VeskControlEffect number; /**< As in a rule. */
    VeskControlKind kind;     /**< Of the messages that it fits. */
    ControlValue value;       /**< What its value is. */
    bool isOfAnswer;          /**< Of requests, only those that are answered can have it. */

    /** The highest value; a relative length may also be as far below 0. */
    constexpr int64_t HighestValue() const
    {
        switch (value) {
        case ControlValue::kResult:
            return UINT16_MAX;
        case ControlValue::kMilliseconds:
            return VESK_CONTROL_MAX_DELAY_MS;
        case ControlValue::kLength:
            return VESK_VIDEO_MAX_MESSAGE_SIZE;
        default:
            return 0;
        }
    }
};

/** All effects. */
inline constexpr ControlEffect kControlEffects[] = {
    {"result", VESK_CONTROL_EFFECT_RESULT, VESK_CONTROL_OF_REQUEST, ControlValue::kResult, false},
    {"delay", VESK_CONTROL_EFFECT_DELAY, VESK_CONTROL_ANY, ControlValue::kMilliseconds, true},
    {"no-answer", VESK_CONTROL_EFFECT_NO_ANSWER, VESK_CONTROL_OF_REQUEST, ControlValue::kNone, true},
    {"close", VESK_CONTROL_EFFECT_CLOSE, VESK_CONTROL_OF_REQUEST, ControlValue::kNone, true},
    {"length", VESK_CONTROL_EFFECT_LENGTH, VESK_CONTROL_ANY, ControlValue::kLength, true},
    {"garbage", VESK_CONTROL_EFFECT_GARBAGE, VESK_CONTROL_ANY, ControlValue::kNone, true},
    {"duplicate", VESK_CONTROL_EFFECT_DUPLICATE, VESK_CONTROL_OF_NOTIFICATION, ControlValue::kNone, true},
    {"drop", VESK_CONTROL_EFFECT_DROP, VESK_CONTROL_OF_NOTIFICATION, ControlValue::kNone, true},
    {"die", VESK_CONTROL_EFFECT_DIE, VESK_CONTROL_ANY, ControlValue::kNone, false},
};

/** Finds an effect by its number; null if there is none. */
constexpr const ControlEffect* FindControlEffect(uint32_t number)
{
    for (const ControlEffect& effect : kControlEffects) {
        if (effect.number == number)
            return &effect;
    }
    return nullptr;
}

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
