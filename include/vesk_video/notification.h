// clang-format off
/**
 * @file
 * @copybrief notifications
 *
 * @copydetails notifications
 *
 * @defgroup notifications Notifications
 * Notifications from the video service, and the callback that receives them.
 *
 * What the callback receives, and what happens to a notification while no callback is installed. A payload
 * that is absent is null, with a length of 0.
 *
 * | Number | Name | data | dataLen | No callback |
 * |---|---|---|---|---|
 * | 0 | VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY | NotifyLoopState | 8 | dropped |
 * | 1 | VESK_VIDEO_ON_ENCODE_RESOURCE_INSUFFICIENT | uint32_t: encoder stream number | 4 | dropped |
 * | 2 | VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY | VeskVideoEncOverloadStatus | payload length | dropped |
 * | 3 | VESK_VIDEO_ON_DECODE_RECREATE_OK_NOTIFY | uint32_t: decoder stream number | 4 | dropped |
 * | 4 | VESK_VIDEO_ON_DECODE_STATUS_NOTIFY | service-defined payload | payload length | dropped |
 * | 5 | VESK_VIDEO_ON_IFREAME_REQUEST | uint64_t: number of the encoder to ask for a key frame | payload length, not the size of data | dropped |
 * | 6 | VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY | uint64_t: wallpaper number | payload length, not the size of data | dropped |
 * | 16 to 18 | VESK_VIDEO_ON_NOTIFY_16 to VESK_VIDEO_ON_NOTIFY_18 | service-defined payload | payload length | dropped |
 * | 31 | VESK_VIDEO_ON_NOTIFY_31 | service-defined payload | payload length | dropped |
 * | 100 | VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY | VeskVideoVoPortPlugState | payload length | held |
 * | 101 | VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY | VeskVideoVoPortDdcInfo | payload length | held |
 * | 102 | VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY | VeskVideoViPortPlugState | payload length | held |
 * | 103 | VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY | VeskVideoViPortPixelInfo | payload length | held |
 * | 104, 105 | VESK_VIDEO_ON_NOTIFY_104, VESK_VIDEO_ON_NOTIFY_105 | service-defined payload | payload length | dropped |
 * | 106 | VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY | VeskVideoDisplayLink | 80 | dropped |
 * | 107 | VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY | VeskVideoCamCtrlResult | 12 | dropped |
 * | 108 | VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY | VeskVideoDisplayLink | 80 | dropped |
 * | 109 | VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY | service-defined payload | payload length | dropped |
 * | 200 to 205 | VESK_VIDEO_ON_NOTIFY_200 to VESK_VIDEO_ON_NOTIFY_205 | service-defined payload | payload length | dropped |
 * | 206 | VESK_VIDEO_ON_VIDEO_DIE_NOTIFY | service-defined payload | payload length | dropped |
 * | 207 | VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY | service-defined payload | payload length | dropped |
 * | 208 | VESK_VIDEO_ON_VIDEO_CAPABILITY_UPDATE | service-defined payload | payload length | dropped |
 *
 * - Check dataLen before reading a record: a payload may be longer or shorter than its record, or absent.
 * - Only 106, 107 and 108 are always exactly one record; with any other length they are dropped.
 * - 100 to 103 are dropped if they have no payload.
 * - A notification with any other number is ignored.
 * @{
 */
// clang-format on
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
 * It is called on the receive thread, one notification at a time and in order of arrival. While
 * VeskVideoSetCallback delivers held notifications, it is also called on the thread that called
 * VeskVideoSetCallback. Calls can then overlap, and a new notification can overtake held ones.
 *
 * The library holds no lock during the call, so the callback may call any function of the library. While it
 * blocks, all later notifications wait. It may still be running when VeskVideoExit returns on another
 * thread.
 *
 * @param notifyId  Notification number (VeskVideoNotification).
 * @param data      As listed at the top of notification.h; valid only during the call.
 * @param dataLen   Length in bytes, as listed there.
 * @return Ignored.
 */
typedef uint32_t (*VeskVideoNotifyCallback)(uint32_t notifyId, void* data, uint32_t dataLen);

/** Argument of VeskVideoSetCallback; also the payload of VESK_VIDEO_MSG_SET_CALLBACK. */
typedef struct VeskVideoCallbackInfo {
    VeskVideoNotifyCallback notifyCallback; /**< Callback, or null to send the record to the service. */
    uint8_t serviceData[32];
} VeskVideoCallbackInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoCallbackInfo, 40);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoCallbackInfo, serviceData, 8);

/** Notification 0: a stream loop was switched. */
typedef struct NotifyLoopState {
    uint32_t action; /**< Action that was requested. */
    uint32_t result; /**< Outcome; 0 for success. */
} NotifyLoopState;
VESK_VIDEO_ASSERT_SIZE(NotifyLoopState, 8);

/** Notification 2: an encoder is overloaded or has recovered. */
typedef struct VeskVideoEncOverloadStatus {
    uint32_t encStmNo; /**< Encoder stream number. */
    uint32_t rts;      /**< Overload status; service-defined. */
} VeskVideoEncOverloadStatus;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncOverloadStatus, 8);

/** Notification 100: a display was plugged in or unplugged. */
typedef struct VeskVideoVoPortPlugState {
    uint32_t port; /**< Output port number. */
    uint8_t serviceData[80];
    uint32_t val; /**< Nonzero if plugged in. */
} VeskVideoVoPortPlugState;
VESK_VIDEO_ASSERT_SIZE(VeskVideoVoPortPlugState, 88);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoVoPortPlugState, val, 84);

/** Notification 101: resolution and refresh rate that a display reports. */
typedef struct VeskVideoVoPortDdcInfo {
    uint32_t port; /**< Output port number. */
    uint8_t serviceData[96];
    uint32_t Width;  /**< Picture width in pixels. */
    uint32_t height; /**< Picture height in pixels. */
    uint32_t fr;     /**< Frames per second. */
} VeskVideoVoPortDdcInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoVoPortDdcInfo, 112);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoVoPortDdcInfo, Width, 100);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoVoPortDdcInfo, height, 104);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoVoPortDdcInfo, fr, 108);

/** Notification 102: an input was plugged in or unplugged. */
typedef struct VeskVideoViPortPlugState {
    uint32_t port; /**< Input port number. */
    uint8_t serviceData[128];
    uint32_t val; /**< Nonzero if plugged in. */
} VeskVideoViPortPlugState;
VESK_VIDEO_ASSERT_SIZE(VeskVideoViPortPlugState, 136);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortPlugState, val, 132);

/** Known values of VeskVideoViPortPixelInfo::portType. */
enum {
    VESK_VIDEO_PORT_TYPE_NET_CAMERA = 16 /**< A network camera's decoder input. */
};

/** Notification 103: picture format of an input. */
typedef struct VeskVideoViPortPixelInfo {
    uint32_t port; /**< Input port number. */
    uint8_t serviceData[64];
    uint32_t stmNo;    /**< Stream number. */
    uint32_t portType; /**< Port type; @ref VESK_VIDEO_PORT_TYPE_NET_CAMERA or service-defined. */
    uint8_t serviceData2[100];
    uint32_t Width;  /**< Picture width in pixels. */
    uint32_t height; /**< Picture height in pixels. */
    uint32_t fr;     /**< Frames per second. */
} VeskVideoViPortPixelInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoViPortPixelInfo, 188);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortPixelInfo, stmNo, 68);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortPixelInfo, portType, 72);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortPixelInfo, Width, 176);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortPixelInfo, height, 180);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortPixelInfo, fr, 184);

/** Notifications 106 (a display shows its first frame) and 108 (its link was taken down). */
typedef struct VeskVideoDisplayLink {
    int32_t viPort;    /**< Input port whose picture is shown; -1 for none. */
    char portName[64]; /**< NUL-terminated name of the port. */
    uint8_t isDec;     /**< Nonzero if the picture comes from a decoder. */
    uint8_t padding[3];
    uint32_t surfaceId; /**< Surface that shows the picture. */
    uint8_t serviceData[4];
} VeskVideoDisplayLink;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDisplayLink, 80);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDisplayLink, portName, 4);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDisplayLink, isDec, 68);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDisplayLink, surfaceId, 72);

/** Notification 107: outcome of a camera command. */
typedef struct VeskVideoCamCtrlResult {
    uint32_t viPort;    /**< Input port of the camera. */
    int32_t camCtrlCmd; /**< Command number. */
    int32_t errCode;    /**< 0 for success. */
} VeskVideoCamCtrlResult;
VESK_VIDEO_ASSERT_SIZE(VeskVideoCamCtrlResult, 12);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoCamCtrlResult, camCtrlCmd, 4);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoCamCtrlResult, errCode, 8);

/** The installed callback, or null. The library accesses it atomically. */
extern VESK_VIDEO_API VeskVideoNotifyCallback g_veskVideoCallBackPtr;

/**
 * Installs the application's callback or, if the record has none, sends the record to the service.
 *
 * If @p info contains a callback, it replaces the installed one. Held notifications are then delivered to
 * it on the calling thread, oldest first, before the call returns. Meanwhile the receive thread may already
 * deliver new notifications to it. If the callback is removed before all held notifications are delivered,
 * the rest stay held, in order, for the next callback.
 *
 * If @p info contains no callback, the record is sent to the service (VESK_VIDEO_MSG_SET_CALLBACK). The
 * installed callback and the held notifications do not change.
 *
 * @pre VeskVideoInit has been called.
 * @param info  The record; read only during the call.
 * @retval VESK_VIDEO_OK           The callback was installed, or the service accepted the record.
 * @retval VESK_VIDEO_ERR_FAILURE  @p info is null.
 * @return Otherwise a common result code (common.h).
 */
VESK_VIDEO_API uint32_t VeskVideoSetCallback(const VeskVideoCallbackInfo* info);

/**
 * Gets the installed callback. Any thread may call.
 *
 * @return The callback, or null if none is installed.
 */
VESK_VIDEO_API VeskVideoNotifyCallback VeskVideoGetCallbackPtr(void);

/** A notification (100 to 103) that is held until a callback is installed. */
typedef struct NorthMsgResendInfo {
    uint32_t msgId;   /**< Notification number. */
    void* data;       /**< Copy of its payload; owned by the library. */
    uint32_t dataLen; /**< Size of data in bytes. */
} NorthMsgResendInfo;

#ifdef __cplusplus
/** Held notifications, oldest first. Use VeskVideoGetMsgResendQ to read them safely. */
extern VESK_VIDEO_API std::list<NorthMsgResendInfo> g_cbResendQueue;

/**
 * Copies the list of held notifications. Any thread may call.
 *
 * @param queue  Receives the list; previous contents are replaced. The data pointers still belong to the
 *               library: do not free them, and do not use them once VeskVideoSetCallback is called.
 * @retval VESK_VIDEO_OK           The list was copied.
 * @retval VESK_VIDEO_ERR_FAILURE  @p queue is null or memory is exhausted.
 */
VESK_VIDEO_API uint32_t VeskVideoGetMsgResendQ(std::list<NorthMsgResendInfo>* queue);
#endif

VESK_VIDEO_END

/** @} */

#endif
