/**
 * @file
 * The notifications of the video service and the one callback that receives them.
 *
 * The callback gets, by notification number:
 *
 * | number | data | dataLen |
 * |---|---|---|
 * | 0 | a NotifyLoopState | 8 |
 * | 1 | the encoder's number, uint64_t of which 4 bytes count | 4 |
 * | 2 | a VeskVideoEncOverloadStatus | the payload's |
 * | 3 | the decoder's number, uint32_t | 4 |
 * | 5, 6 | the header's ulParam1, uint64_t (5: the encoder to ask for a key frame) | the payload's, 0 without
 * one | | 100, 101, 102, 103 | a VeskVideoVoPortPlugState, VeskVideoVoPortDdcInfo, VeskVideoViPortPlugState,
 *   VeskVideoViPortPixelInfo | the payload's |
 * | 106, 108 | a VeskVideoDisplayLink | 80 |
 * | 107 | a VeskVideoCamCtrlResult | 12 |
 * | all others | the payload, null when there is none | the payload's |
 *
 * The service may send a longer payload than the record named here, and the library passes a shorter
 * one on as it came: look at dataLen before a field is read.
 */
#ifndef VESK_VIDEO_NOTIFICATION_H
#define VESK_VIDEO_NOTIFICATION_H

#include "vesk_video/common.h"

#ifdef __cplusplus
#include <list>
#endif

VESK_VIDEO_BEGIN

/**
 * The application's callback.
 *
 * Called on the receive thread, one notification at a time; during VeskVideoSetCallback also on the
 * thread that calls it, so two calls can run at once then. A callback that blocks holds up all later
 * notifications. No lock is held; it may call any function of the library.
 *
 * @param notifyId  A VESK_VIDEO_ON_ number of messages.h.
 * @param data      See the table above; valid only during the call.
 * @param dataLen   Bytes at @p data.
 * @return Ignored.
 */
typedef uint32_t (*VeskVideoNotifyCallback)(uint32_t notifyId, void* data, uint32_t dataLen);

/** What VeskVideoSetCallback is given; the payload of VESK_VIDEO_MSG_SET_CALLBACK. */
typedef struct VeskVideoCallbackInfo {
    VeskVideoNotifyCallback notifyCallback; /**< The callback, or null to send the record to the service. */
    uint8_t serviceData[32];                /**< The service's, carried unchanged. */
} VeskVideoCallbackInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoCallbackInfo, 40);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoCallbackInfo, serviceData, 8);

/** Notification 0: a stream loop was switched. */
typedef struct NotifyLoopState {
    uint32_t action; /**< What was asked for. */
    uint32_t result; /**< How it ended, 0 for success. */
} NotifyLoopState;
VESK_VIDEO_ASSERT_SIZE(NotifyLoopState, 8);

/** Notification 2: an encoder is overloaded or recovered. */
typedef struct VeskVideoEncOverloadStatus {
    uint32_t encStmNo; /**< Encoder stream number. */
    uint32_t rts;      /**< The service's overload status. */
} VeskVideoEncOverloadStatus;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncOverloadStatus, 8);

/** Notification 100: a display was plugged or unplugged. */
typedef struct VeskVideoVoPortPlugState {
    uint32_t port;           /**< Output port. */
    uint8_t serviceData[80]; /**< The service's. */
    uint32_t val;            /**< Plug value, nonzero when plugged. */
} VeskVideoVoPortPlugState;
VESK_VIDEO_ASSERT_SIZE(VeskVideoVoPortPlugState, 88);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoVoPortPlugState, val, 84);

/** Notification 101: what a display says of itself. */
typedef struct VeskVideoVoPortDdcInfo {
    uint32_t port;           /**< Output port. */
    uint8_t serviceData[96]; /**< The service's. */
    uint32_t Width;          /**< Pixels. */
    uint32_t height;         /**< Pixels. */
    uint32_t fr;             /**< Frames per second. */
} VeskVideoVoPortDdcInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoVoPortDdcInfo, 112);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoVoPortDdcInfo, Width, 100);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoVoPortDdcInfo, height, 104);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoVoPortDdcInfo, fr, 108);

/** Notification 102: an input was plugged or unplugged. */
typedef struct VeskVideoViPortPlugState {
    uint32_t port;            /**< Input port. */
    uint8_t serviceData[128]; /**< The service's. */
    uint32_t val;             /**< Plug value, nonzero when plugged. */
} VeskVideoViPortPlugState;
VESK_VIDEO_ASSERT_SIZE(VeskVideoViPortPlugState, 136);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortPlugState, val, 132);

/** VeskVideoViPortPixelInfo::portType of a network camera's decoder input. */
enum {
    VESK_VIDEO_PORT_TYPE_NET_CAMERA = 16 /**< A network camera's decoder input. */
};

/** Notification 103: the format of an input's picture. */
typedef struct VeskVideoViPortPixelInfo {
    uint32_t port;             /**< Input port. */
    uint8_t serviceData[64];   /**< The service's. */
    uint32_t stmNo;            /**< Stream number. */
    uint32_t portType;         /**< Kind of port; see @ref VESK_VIDEO_PORT_TYPE_NET_CAMERA. */
    uint8_t serviceData2[100]; /**< The service's. */
    uint32_t Width;            /**< Pixels. */
    uint32_t height;           /**< Pixels. */
    uint32_t fr;               /**< Frames per second. */
} VeskVideoViPortPixelInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoViPortPixelInfo, 188);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortPixelInfo, stmNo, 68);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortPixelInfo, portType, 72);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortPixelInfo, Width, 176);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortPixelInfo, height, 180);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortPixelInfo, fr, 184);

/** Notifications 106 (a display shows its first frame) and 108 (its link was taken down). */
typedef struct VeskVideoDisplayLink {
    int32_t viPort;         /**< Input port whose picture is shown, -1 for none. */
    char portName[64];      /**< NUL-terminated name of the port. */
    uint8_t isDec;          /**< Nonzero when the picture comes from a decoder. */
    uint8_t padding[3];     /**< Not read. */
    uint32_t surfaceId;     /**< Surface that shows it. */
    uint8_t serviceData[4]; /**< The service's. */
} VeskVideoDisplayLink;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDisplayLink, 80);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDisplayLink, portName, 4);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDisplayLink, isDec, 68);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDisplayLink, surfaceId, 72);

/** Notification 107: how a camera command ended. */
typedef struct VeskVideoCamCtrlResult {
    uint32_t viPort;    /**< Input port of the camera. */
    int32_t camCtrlCmd; /**< The command. */
    int32_t errCode;    /**< 0 for success. */
} VeskVideoCamCtrlResult;
VESK_VIDEO_ASSERT_SIZE(VeskVideoCamCtrlResult, 12);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoCamCtrlResult, camCtrlCmd, 4);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoCamCtrlResult, errCode, 8);

/** The installed callback, null for none; read and written as one whole pointer. */
extern VESK_VIDEO_API VeskVideoNotifyCallback g_veskVideoCallBackPtr;

/**
 * Installs the application's callback, or sends a callback record to the service.
 *
 * With a callback in @p info, it takes the place of any earlier one, and the notifications that were
 * held for want of a callback are handed to it on the calling thread, oldest first, before the call
 * returns. Without one, the whole record goes to the service (VESK_VIDEO_MSG_SET_CALLBACK); callback
 * and held notifications stay as they are.
 *
 * @param info  The record.
 * @return 0 when a callback was installed; 1 when @p info is null; else as a request.
 */
VESK_VIDEO_API uint32_t VeskVideoSetCallback(const VeskVideoCallbackInfo* info);

/** @return The installed callback, null for none. Any thread may call. */
VESK_VIDEO_API VeskVideoNotifyCallback VeskVideoGetCallbackPtr(void);

/** A notification (100 to 103) that is held until a callback is installed. */
typedef struct NorthMsgResendInfo {
    uint32_t msgId;   /**< Notification number. */
    void* data;       /**< Copy of its payload; belongs to the library's queue. */
    uint32_t dataLen; /**< Bytes at data. */
} NorthMsgResendInfo;

#ifdef __cplusplus
/** The held notifications, oldest first; VeskVideoGetMsgResendQ reads it safely. */
extern VESK_VIDEO_API std::list<NorthMsgResendInfo> g_cbResendQueue;

/**
 * Copies the list of held notifications. Any thread may call.
 *
 * @param queue  Its contents are replaced. The data pointers are shared with the library: they must
 *               not be freed, and are valid until the next VeskVideoSetCallback.
 * @return 0; 1 when @p queue is null or there is no memory for the copy.
 */
VESK_VIDEO_API uint32_t VeskVideoGetMsgResendQ(std::list<NorthMsgResendInfo>* queue);
#endif

VESK_VIDEO_END

#endif
