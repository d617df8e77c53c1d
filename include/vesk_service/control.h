/**
 * @file
 * How the virtual device is steered: requests to the virtual service that a real device does not know. They
 * are ordinary messages to the service's task, with the header of all others; an application never needs
 * them. veskctl sends them, and so can a test. A request that cannot be served is answered with a
 * VeskServiceResult and changes nothing.
 *
 * Times are the model's: milliseconds since the service started. They run with the clock, faster or slower
 * with --time-scale, or only by VESK_CONTROL_TIME with --step.
 */
#ifndef VESK_SERVICE_CONTROL_H
#define VESK_SERVICE_CONTROL_H

#include "vesk_service/virtual_service.h"

/**
 * Control requests.
 *
 * - VESK_CONTROL_STATE: Gets the whole state, as a JSON document in UTF-8.
 * - VESK_CONTROL_PLUG: Plugs in a source or display, in a mode; clients are notified. VESK_SERVICE_ERR_STATE
 *   if one is plugged in already.
 * - VESK_CONTROL_UNPLUG: Pulls a source or display out; clients are notified. VESK_SERVICE_ERR_STATE if none
 *   is plugged in.
 * - VESK_CONTROL_MODE: Changes the mode of what is plugged in; clients are notified.
 *   VESK_SERVICE_ERR_UNPLUGGED if nothing is.
 * - VESK_CONTROL_NOTIFY: Sends a VeskControlNotification and its payload, of any length. The answer is the
 *   number of clients that it was sent to, or will be when a fault delays it. VESK_SERVICE_ERR_NUMBER if the
 *   client is not known, VESK_SERVICE_ERR_VALUE if the list has no such notification.
 * - VESK_CONTROL_FAULT_ADD: Adds a fault rule; the answer is its number, from 1. VESK_SERVICE_ERR_VALUE if a
 *   field is out of range, VESK_SERVICE_ERR_ROOM beyond VESK_CONTROL_MAX_FAULTS.
 * - VESK_CONTROL_FAULT_LIST: Gets all rules, as an array of VeskControlFaultState in the order of their
 *   numbers.
 * - VESK_CONTROL_FAULT_CLEAR: Takes a rule away, or with 0 all.
 * - VESK_CONTROL_TIME: Moves the model's time on by milliseconds and says what time it is then. Everything
 *   that becomes due on the way is done in order, each at its own time, before the answer. 0 only asks;
 *   VESK_SERVICE_ERR_STATE if the service was started without --step.
 * - VESK_CONTROL_SCENARIO: Starts a scenario: an array of VeskControlStep, each with its message. It replaces
 *   the one that runs; its times and matches count from now, and what it does at time 0 is done before the
 *   answer. Without steps it only ends the other. VESK_SERVICE_ERR_LENGTH, VESK_SERVICE_ERR_VALUE or
 *   VESK_SERVICE_ERR_ROOM if one of the steps cannot be.
 * - VESK_CONTROL_RESET: Goes back to the described device. All that clients have opened or created is gone,
 *   faults and scenario too, answers that are still owed are never given; clients stay known and are notified
 *   by 206 and 207.
 * - VESK_CONTROL_WATCH: Has the task that the envelope names as its sender's sent VESK_CONTROL_ON_MESSAGE
 *   from now on, or with 0 no more; to ask again changes nothing. VESK_SERVICE_ERR_ROOM beyond
 *   VESK_CONTROL_MAX_WATCHERS.
 * - VESK_CONTROL_TICK: Tells that something is due; the service sends it to itself and answers
 *   VESK_SERVICE_ERR_REQUEST to others.
 * - VESK_CONTROL_SCENE: Gets what an output port's display shows, or, with VESK_CONTROL_EVERY_PORT, what all
 *   do, as a JSON document. VESK_SERVICE_ERR_NUMBER if there is no such port.
 */
typedef enum VeskControlRequest {
#define VESK_CONTROL_REQUEST(name, number, ...) name = (number),
#include "vesk_service/control.def"
} VeskControlRequest;

/** What the service sends to those who watch: a VeskControlMessage, and the bytes of the message. */
typedef enum VeskControlNotificationNumber {
#define VESK_CONTROL_NOTIFICATION(name, number, ...) name = (number),
#include "vesk_service/control.def"
} VeskControlNotificationNumber;

/** Which ports. */
enum VeskControlDirection { VESK_CONTROL_INPUT = 0, VESK_CONTROL_OUTPUT = 1 };

/** In place of an output port: all of them, for VESK_CONTROL_SCENE. */
#define VESK_CONTROL_EVERY_PORT 0xffffffffU

/** Limits. */
enum VeskControlLimit {
    VESK_CONTROL_MAX_CONDITIONS = 8,     /**< Of one match. */
    VESK_CONTROL_MAX_FAULTS = 256,       /**< Rules at a time. */
    VESK_CONTROL_MAX_STEPS = 4096,       /**< Of a scenario. */
    VESK_CONTROL_MAX_WATCHERS = 8,       /**< Tasks that watch. */
    VESK_CONTROL_MAX_DELAY_MS = 86400000 /**< Of a fault; a day. */
};

/** In a match: any message number. */
#define VESK_CONTROL_ANY_NUMBER 0xffffffffU

/** Picture of a source or display; VESK_SERVICE_ERR_VALUE if it is out of range. */
typedef struct VeskControlMode {
    uint32_t width;  /**< Pixels, 1 to 16384; 0 in a plug keeps the mode that the port has. */
    uint32_t height; /**< Pixels, 1 to 16384. */
    uint32_t fr;     /**< Frames per second, 1 to 1000. */
} VeskControlMode;
VESK_VIDEO_ASSERT_SIZE(VeskControlMode, 12);

/** A notification to be sent; its payload follows. */
typedef struct VeskControlNotification {
    char procName[16]; /**< Client; empty: every client. */
    uint32_t notifyId; /**< A listed notification. */
    uint32_t param2;   /**< Header's ulParam2. */
    uint64_t param1;   /**< Header's ulParam1. */
} VeskControlNotification;
VESK_VIDEO_ASSERT_SIZE(VeskControlNotification, 32);

/** Messages of which kind. */
enum VeskControlKind { VESK_CONTROL_ANY = 0, VESK_CONTROL_OF_REQUEST = 1, VESK_CONTROL_OF_NOTIFICATION = 2 };

/** Bytes that a message must have. */
typedef struct VeskControlCondition {
    uint32_t offset;   /**< In its data block; the payload begins at 24. */
    uint32_t size;     /**< Of the bytes, 1 to 56. */
    uint8_t bytes[56]; /**< Their values; of a text, the NUL is one of them. */
} VeskControlCondition;
VESK_VIDEO_ASSERT_SIZE(VeskControlCondition, 64);

/** A choice of messages. Control messages are never matched. */
typedef struct VeskControlMatch {
    uint32_t kind;       /**< A VeskControlKind. */
    uint32_t number;     /**< Message number, or @ref VESK_CONTROL_ANY_NUMBER. */
    char procName[16];   /**< Application that sends or receives it; empty: any. */
    uint32_t conditions; /**< Used entries of the next field. */
    uint32_t reserved;   /**< 0. */
    VeskControlCondition condition[VESK_CONTROL_MAX_CONDITIONS]; /**< All must hold. */
} VeskControlMatch;
VESK_VIDEO_ASSERT_SIZE(VeskControlMatch, 544);

/**
 * What a fault does. Several rules that hit a message compose in the order of their numbers: of several
 * results, or of several fates of an answer, the last one counts, delays add up, and each length or garbage
 * changes what those before it left. A rule of kind VESK_CONTROL_ANY is about messages of the kind that its
 * effect is for.
 *
 * The notifications of a request follow its late answer. So that all that waits is bounded, an answer that is
 * one too many to be late is never given, and its connection closed; a notification is dropped. Both are
 * logged.
 */
enum VeskControlEffect {
    VESK_CONTROL_EFFECT_RESULT = 1, /**< Requests: answered with a result code, not served. */
    VESK_CONTROL_EFFECT_DELAY = 2,  /**< Requests: served, the answer comes late; notifications: sent late. */
    VESK_CONTROL_EFFECT_NO_ANSWER = 3, /**< Requests: served, never answered. */
    VESK_CONTROL_EFFECT_CLOSE = 4,   /**< Requests: served, the connection is closed instead of an answer. */
    VESK_CONTROL_EFFECT_LENGTH = 5,  /**< The data block of the answer or notification, in which the header
                                          comes first, has another length; more bytes are 0. */
    VESK_CONTROL_EFFECT_GARBAGE = 6, /**< Every byte of the answer's data block, or of the notification's
                                          payload, is random. */
    VESK_CONTROL_EFFECT_DUPLICATE = 7, /**< Notifications: sent once more. */
    VESK_CONTROL_EFFECT_DROP = 8,      /**< Notifications: not sent. */
    VESK_CONTROL_EFFECT_DIE = 9 /**< The service ends at once with status 3, without good-bye and before it
                                     serves or sends. */
};

/** A fault rule: which messages, when, and what happens to them. */
typedef struct VeskControlFault {
    VeskControlMatch match; /**< Messages that it is about. */
    uint32_t effect;        /**< A VeskControlEffect. */
    uint32_t isRelative;    /**< Length: 1 if the value is added to the true one, else 0. */
    int64_t value;          /**< Result code to 0xffff, milliseconds to a day, bytes to 4 MiB; else 0. */
    uint64_t after;         /**< This many matches pass first. */
    uint64_t every;         /**< Of the others, only every n-th; 0 and 1: all. */
    uint64_t count;         /**< Ends after this many hits; 0: never. */
    uint32_t percent;       /**< Chance of each that is left, 1 to 100; 0 is 100. */
    uint32_t reserved;      /**< 0. */
    uint64_t seed;          /**< Of this rule's chances and random bytes. */
} VeskControlFault;
VESK_VIDEO_ASSERT_SIZE(VeskControlFault, 600);

/** A fault rule and what came of it. */
typedef struct VeskControlFaultState {
    uint32_t fault;        /**< Its number. */
    uint32_t reserved;     /**< 0. */
    uint64_t matches;      /**< Messages that matched. */
    uint64_t hits;         /**< Those that it changed. */
    VeskControlFault rule; /**< As it was added. */
} VeskControlFaultState;
VESK_VIDEO_ASSERT_SIZE(VeskControlFaultState, 624);

/** The model's time. */
typedef struct VeskControlTime {
    uint64_t nowMs;    /**< Milliseconds since the service started. */
    uint64_t due;      /**< Answers, notifications and steps that wait for their time. */
    uint32_t isStep;   /**< 1: it moves by command only. */
    uint32_t reserved; /**< 0. */
} VeskControlTime;
VESK_VIDEO_ASSERT_SIZE(VeskControlTime, 24);

/** When a step of a scenario is done. */
enum VeskControlTrigger {
    VESK_CONTROL_AT_TIME = 0, /**< At a time since the scenario began. */
    VESK_CONTROL_AT_MATCH = 1 /**< At the n-th match, before the message is served or sent. */
};

/**
 * A step of a scenario. The control message that it stands for follows, header and payload, and zeros up to
 * the next multiple of 8; then the next step. Scenario, reset, watch and tick cannot be steps.
 */
typedef struct VeskControlStep {
    uint32_t trigger;       /**< A VeskControlTrigger. */
    uint32_t dataLen;       /**< Bytes of the message. */
    uint64_t atMs;          /**< At time: when. */
    uint64_t nth;           /**< At match: which, from 1. */
    VeskControlMatch match; /**< At match: of what. */
} VeskControlStep;
VESK_VIDEO_ASSERT_SIZE(VeskControlStep, 568);

/** What a watched message is. */
enum VeskControlMessageKind {
    VESK_CONTROL_SAW_REQUEST = 1,      /**< A request has arrived. */
    VESK_CONTROL_SAW_ANSWER = 2,       /**< It was answered; the exchange says which. */
    VESK_CONTROL_SAW_NO_ANSWER = 3,    /**< It will not be, or its sender did not wait for it, or no longer;
                                            no bytes follow. */
    VESK_CONTROL_SAW_NOTIFICATION = 4, /**< A notification was sent, or could not be. */
    VESK_CONTROL_SAW_DROPPED = 5,      /**< One was not sent: a fault drops it, or too many are late. */
    VESK_CONTROL_SAW_LAST = 6 /**< No message: the watcher has asked for no more, and gets no more. */
};

/**
 * A message that the service received or sent; its data block follows, as much as fits into one message.
 * Control messages are not shown.
 */
typedef struct VeskControlMessage {
    uint32_t kind;           /**< A VeskControlMessageKind. */
    uint32_t number;         /**< The envelope's msgId. */
    uint32_t isSynchronous;  /**< Requests: 1 if the sender waits. */
    uint32_t platformResult; /**< Answers, notifications: 0 when handed over, else a HostMsgResult. */
    uint32_t process;        /**< Application's process, 0 if it is not known. */
    uint32_t dataLen;        /**< Bytes that the message has. */
    char procName[16];       /**< Application. */
    char taskName[16];       /**< Its task. */
    uint64_t exchange;       /**< The same for a request and its answer, from 1; notifications: 0. */
    uint64_t realtimeNs;     /**< Nanoseconds since 1970. */
    uint64_t monotonicNs;    /**< Nanoseconds of CLOCK_MONOTONIC. */
    uint64_t durationNs;     /**< Answers: since the request arrived; 0 if nobody watched then. */
    uint64_t lost;           /**< Messages that this watcher could not be sent so far. */
} VeskControlMessage;
VESK_VIDEO_ASSERT_SIZE(VeskControlMessage, 96);

#endif
