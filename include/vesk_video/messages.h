/**
 * @file
 * Every request and every notification that crosses between the library and the video service:
 * name, number and lengths, described once. Enumerators, log lines, the service's dispatch, the
 * tool's decoding and the tests are all read off these two lists.
 */
#ifndef VESK_VIDEO_MESSAGES_H
#define VESK_VIDEO_MESSAGES_H

/**
 * All requests, as X(name, number, payload, answer).
 *
 * Payload and answer stand behind the 24-byte header and are described by one of
 * - VESK_NONE: nothing, the header alone;
 * - VESK_RECORD(type): exactly one record;
 * - VESK_ARRAY(type, field): as many records as the header field says;
 * - VESK_TEXT(size): a NUL-terminated text of at most size bytes, NUL included;
 * - VESK_BYTES: bytes whose number the caller chooses;
 * - VESK_UNANSWERED (answer only): the request is asynchronous, no answer is sent.
 *
 * The words are macros that the user of the list defines.
 */
#define VESK_VIDEO_REQUESTS(X)                                                                               \
    X(VESK_VIDEO_MSG_INIT, 0, VESK_RECORD(VeskVideoInitInfo), VESK_NONE)                                     \
    X(VESK_VIDEO_MSG_EXIT, 1, VESK_NONE, VESK_UNANSWERED)                                                    \
    X(VESK_VIDEO_MSG_GET_VI_COUNT, 5, VESK_NONE, VESK_RECORD(uint32_t))                                      \
    X(VESK_VIDEO_MSG_GET_VI_PORT, 6, VESK_NONE, VESK_ARRAY(VeskVideoViPortInfo, ulParam1))                   \
    X(VESK_VIDEO_MSG_GET_VO_COUNT, 7, VESK_NONE, VESK_RECORD(uint32_t))                                      \
    X(VESK_VIDEO_MSG_GET_VO_PORT, 8, VESK_NONE, VESK_ARRAY(VeskVideoVoPortInfo, ulParam1))                   \
    X(VESK_VIDEO_MSG_OPEN_VI_PORT, 9, VESK_NONE, VESK_RECORD(uint32_t))                                      \
    X(VESK_VIDEO_MSG_GET_VI_QUE_HANDLE, 10, VESK_NONE, VESK_RECORD(uint32_t))                                \
    X(VESK_VIDEO_MSG_CLOSE_VI_PORT, 11, VESK_NONE, VESK_NONE)                                                \
    X(VESK_VIDEO_MSG_SET_VI_PARAM, 12, VESK_RECORD(VeskVideoViPortParam), VESK_NONE)                         \
    X(VESK_VIDEO_MSG_GET_VI_PARAM, 13, VESK_NONE, VESK_RECORD(VeskVideoViPortParam))                         \
    X(VESK_VIDEO_MSG_SET_VI_CONNECT, 14, VESK_NONE, VESK_NONE)                                               \
    X(VESK_VIDEO_MSG_SET_VI_DISCONNECT, 15, VESK_NONE, VESK_NONE)                                            \
    X(VESK_VIDEO_MSG_VI_START, 16, VESK_NONE, VESK_NONE)                                                     \
    X(VESK_VIDEO_MSG_VI_STOP, 17, VESK_NONE, VESK_NONE)                                                      \
    X(VESK_VIDEO_MSG_VI_MODIFY_INPUT, 18, VESK_NONE, VESK_NONE)                                              \
    X(VESK_VIDEO_MSG_OPEN_VO_PORT, 20, VESK_NONE, VESK_RECORD(uint32_t))                                     \
    X(VESK_VIDEO_MSG_SET_VO_PARAM, 22, VESK_RECORD(VeskVideoVoPortParam), VESK_NONE)                         \
    X(VESK_VIDEO_MSG_SET_VO_QUE_HANDLE, 23, VESK_NONE, VESK_NONE)                                            \
    X(VESK_VIDEO_MSG_GET_VO_PARAM, 24, VESK_NONE, VESK_RECORD(VeskVideoVoPortParam))                         \
    X(VESK_VIDEO_MSG_SET_VO_SRC, 25, VESK_RECORD(VeskVideoVoMultiPicParam), VESK_NONE)                       \
    X(VESK_VIDEO_MSG_SET_SCREEN_OFFSET, 26, VESK_RECORD(VeskVideoScreenOffset), VESK_NONE)                   \
    X(VESK_VIDEO_MSG_VO_START, 27, VESK_NONE, VESK_NONE)                                                     \
    X(VESK_VIDEO_MSG_VO_STOP, 28, VESK_NONE, VESK_NONE)                                                      \
    X(VESK_VIDEO_MSG_VO_CLOSE, 29, VESK_NONE, VESK_NONE)                                                     \
    X(VESK_VIDEO_MSG_ENC_CREATE, 30, VESK_NONE, VESK_RECORD(uint32_t))                                       \
    X(VESK_VIDEO_MSG_ENC_DELETE, 31, VESK_NONE, VESK_NONE)                                                   \
    X(VESK_VIDEO_MSG_SET_ENC_PARAM, 32, VESK_RECORD(VeskVideoEncParam), VESK_NONE)                           \
    X(VESK_VIDEO_MSG_SET_ENC_QUE_HANDLE, 35, VESK_NONE, VESK_NONE)                                           \
    X(VESK_VIDEO_MSG_GET_ENC_PARAM, 36, VESK_NONE, VESK_RECORD(VeskVideoEncParam))                           \
    X(VESK_VIDEO_MSG_ENC_START, 37, VESK_NONE, VESK_NONE)                                                    \
    X(VESK_VIDEO_MSG_ENC_STOP, 38, VESK_NONE, VESK_NONE)                                                     \
    X(VESK_VIDEO_MSG_SET_ENC_FEC_PARAM, 39, VESK_RECORD(VeskVideoEncFecParam), VESK_NONE)                    \
    X(VESK_VIDEO_MSG_DEC_CREATE, 40, VESK_NONE, VESK_RECORD(uint32_t))                                       \
    X(VESK_VIDEO_MSG_DEC_DELETE, 41, VESK_NONE, VESK_NONE)                                                   \
    X(VESK_VIDEO_MSG_SET_DEC_PARAM, 42, VESK_RECORD(VeskVideoDecParam), VESK_NONE)                           \
    X(VESK_VIDEO_MSG_SET_DEC_PARAMEX, 43, VESK_RECORD(VeskVideoDecParamEx), VESK_NONE)                       \
    X(VESK_VIDEO_MSG_SET_DEC_QUE_HANDLE, 44, VESK_NONE, VESK_NONE)                                           \
    X(VESK_VIDEO_MSG_GET_DEC_PARAM, 45, VESK_NONE, VESK_RECORD(VeskVideoDecParam))                           \
    X(VESK_VIDEO_MSG_DEC_START, 46, VESK_NONE, VESK_NONE)                                                    \
    X(VESK_VIDEO_MSG_DEC_STOP, 47, VESK_NONE, VESK_NONE)                                                     \
    X(VESK_VIDEO_MSG_INIT_UVC, 48, VESK_NONE, VESK_UNANSWERED)                                               \
    X(VESK_VIDEO_MSG_DEINIT_UVC, 49, VESK_NONE, VESK_UNANSWERED)                                             \
    X(VESK_VIDEO_MSG_OPEN_UVC_PORT, 50, VESK_NONE, VESK_RECORD(uint32_t))                                    \
    X(VESK_VIDEO_MSG_SET_UVC_PARAM, 51, VESK_RECORD(VeskVideoUvcParam), VESK_NONE)                           \
    X(VESK_VIDEO_MSG_SET_UVC_PARAM_EX, 52, VESK_RECORD(VeskVideoUvcParamEx), VESK_NONE)                      \
    X(VESK_VIDEO_MSG_START_UVC_STREAM, 53, VESK_NONE, VESK_NONE)                                             \
    X(VESK_VIDEO_MSG_STOP_UVC_STREAM, 54, VESK_NONE, VESK_NONE)                                              \
    X(VESK_VIDEO_MSG_CLOSE_UVC_PORT, 55, VESK_NONE, VESK_NONE)                                               \
    X(VESK_VIDEO_MSG_OPEN_MOUSE_PORT, 56, VESK_NONE, VESK_RECORD(uint32_t))                                  \
    X(VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE, 58, VESK_NONE, VESK_NONE)                                         \
    X(VESK_VIDEO_MSG_MOUSE_CONNECT, 59, VESK_NONE, VESK_NONE)                                                \
    X(VESK_VIDEO_MSG_MOUSE_START, 60, VESK_NONE, VESK_NONE)                                                  \
    X(VESK_VIDEO_MSG_MOUSE_STOP, 61, VESK_NONE, VESK_NONE)                                                   \
    X(VESK_VIDEO_MSG_CLOSE_MOUSE_PORT, 62, VESK_NONE, VESK_NONE)                                             \
    X(VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM, 63, VESK_RECORD(VeskVideoEptzParams), VESK_NONE)                   \
    X(VESK_VIDEO_MSG_SET_VI_PTZF_PARAM, 64, VESK_RECORD(VeskVideoPtzfParams), VESK_NONE)                     \
    X(VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM, 65, VESK_NONE, VESK_RECORD(VeskVideoEptzParams))                   \
    X(VESK_VIDEO_MSG_GET_VI_PTZF_PARAM, 66, VESK_NONE, VESK_RECORD(VeskVideoPtzfParams))                     \
    X(VESK_VIDEO_MSG_EXECUT_VI_TRACKING_PARAM, 67, VESK_NONE, VESK_NONE)                                     \
    X(VESK_VIDEO_MSG_GET_VI_PT_STATUS, 68, VESK_NONE, VESK_RECORD(uint8_t))                                  \
    X(VESK_VIDEO_MSG_GET_VI_AF_STATUS, 69, VESK_NONE, VESK_RECORD(uint8_t))                                  \
    X(VESK_VIDEO_MSG_SET_CAMERA_QUEUE_ID, 70, VESK_NONE, VESK_UNANSWERED)                                    \
    X(VESK_VIDEO_MSG_SET_VIO_CALLBACK, 71, VESK_RECORD(VeskVideoVioCallbackParam), VESK_NONE)                \
    X(VESK_VIDEO_MSG_GET_SNAPSHOT, 72, VESK_RECORD(VeskVideoSnapshotParam), VESK_NONE)                       \
    X(VESK_VIDEO_MSG_SET_ANNOTATION_STATUS, 75, VESK_NONE, VESK_NONE)                                        \
    X(VESK_VIDEO_MSG_ADVANCE_QUE_CLIENT_INIT, 88, VESK_TEXT(64), VESK_NONE)                                  \
    X(VESK_VIDEO_MSG_ENCODER_GET_STATUS, 90, VESK_NONE, VESK_RECORD(VeskVideoEncStatus))                     \
    X(VESK_VIDEO_MSG_ENCODER_GET_ALL_STATUS, 91, VESK_ARRAY(VeskVideoEncStatusInfo, ulParam1),               \
      VESK_ARRAY(VeskVideoEncStatusInfo, ulParam1))                                                          \
    X(VESK_VIDEO_MSG_ENCODER_GET_CHR_STATISTICS, 92, VESK_NONE, VESK_RECORD(VeskVideoEncChrStatistics))      \
    X(VESK_VIDEO_MSG_DECODER_GET_STATUS, 93, VESK_NONE, VESK_RECORD(VeskVideoDecStatus))                     \
    X(VESK_VIDEO_MSG_DECODER_GET_ALL_STATUS, 94, VESK_ARRAY(VeskVideoDecStatusInfo, ulParam1),               \
      VESK_ARRAY(VeskVideoDecStatusInfo, ulParam1))                                                          \
    X(VESK_VIDEO_MSG_DECODER_GET_CHR_STATISTICS, 95, VESK_NONE, VESK_RECORD(VeskVideoDecChrStatistics))      \
    X(VESK_VIDEO_MSG_ENC_FORCE_KEYFRAME, 96, VESK_NONE, VESK_NONE)                                           \
    X(VESK_VIDEO_MSG_ENC_MODIFY_FRAME_RATE, 97, VESK_NONE, VESK_NONE)                                        \
    X(VESK_VIDEO_MSG_GET_ENCODE_CAPABILITY, 98, VESK_NONE, VESK_RECORD(VeskVideoEncodeCapability))           \
    X(VESK_VIDEO_MSG_GET_DECODE_CAPABILITY, 99, VESK_NONE, VESK_RECORD(VeskVideoDecodeCapability))           \
    X(VESK_VIDEO_MSG_SET_WALLPAPER_INFO, 101, VESK_RECORD(VeskVideoWallpaperParam), VESK_NONE)               \
    X(VESK_VIDEO_MSG_SET_DEC_MOVE_STATE, 103, VESK_NONE, VESK_NONE)                                          \
    X(VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM, 104, VESK_RECORD(VeskVideoAppInParam), VESK_NONE)                \
    X(VESK_VIDEO_MSG_SET_LOOP_MODE, 118, VESK_RECORD(VeskVideoStreamLoopParam), VESK_RECORD(uint32_t))       \
    X(VESK_VIDEO_MSG_SET_LOOP_START, 119, VESK_NONE, VESK_NONE)                                              \
    X(VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM, 120, VESK_TEXT(4097), VESK_NONE)                                  \
    X(VESK_VIDEO_MSG_OPEN_LOCAL_MOUSE, 121, VESK_NONE, VESK_RECORD(uint32_t))                                \
    X(VESK_VIDEO_MSG_START_LOCAL_MOUSE, 122, VESK_NONE, VESK_NONE)                                           \
    X(VESK_VIDEO_MSG_STOP_LOCAL_MOUSE, 123, VESK_NONE, VESK_NONE)                                            \
    X(VESK_VIDEO_MSG_SET_LOCAL_MOUSE_INDEPENDENT, 124, VESK_NONE, VESK_NONE)                                 \
    X(VESK_VIDEO_MSG_SET_LOCAL_MOUSE_PARAM, 125, VESK_RECORD(VeskVideoLocalMouseParam), VESK_NONE)           \
    X(VESK_VIDEO_MSG_ATTACH_LOCAL_MOUSE, 126, VESK_NONE, VESK_NONE)                                          \
    X(VESK_VIDEO_MSG_LOCAL_MOUSE_SHOW_ENABLE, 127, VESK_NONE, VESK_NONE)                                     \
    X(VESK_VIDEO_MSG_SET_LOCAL_MOUSE_QUE_HANDLE, 128, VESK_NONE, VESK_NONE)                                  \
    X(VESK_VIDEO_MSG_CLOSE_LOCAL_MOUSE, 129, VESK_NONE, VESK_NONE)                                           \
    X(VESK_VIDEO_MSG_SET_REMOTE_MOUSE_BACKGRAND_AREA, 130, VESK_RECORD(VeskVideoMouseArea), VESK_NONE)       \
    X(VESK_VIDEO_MSG_UVC_REQ_I_FRAME, 131, VESK_NONE, VESK_NONE)                                             \
    X(VESK_VIDEO_MSG_CREATE_QUEUE, 133, VESK_NONE, VESK_NONE)                                                \
    X(VESK_VIDEO_MSG_DESTROY_QUEUE, 134, VESK_NONE, VESK_NONE)                                               \
    X(VESK_VIDEO_MSG_SET_ENC_PARAM_EX, 135, VESK_RECORD(VeskVideoEncParamEx), VESK_NONE)                     \
    X(VESK_VIDEO_MSG_GET_ENC_PARAM_EX, 136, VESK_NONE, VESK_RECORD(VeskVideoEncParamEx))                     \
    X(VESK_VIDEO_MSG_ENCODER_FREEZE, 137, VESK_BYTES, VESK_NONE)                                             \
    X(VESK_VIDEO_MSG_VI_ENABLE, 138, VESK_NONE, VESK_NONE)                                                   \
    X(VESK_VIDEO_MSG_VI_DISABLE, 139, VESK_NONE, VESK_NONE)                                                  \
    X(VESK_VIDEO_MSG_VO_ENABLE, 140, VESK_NONE, VESK_NONE)                                                   \
    X(VESK_VIDEO_MSG_VO_DISABLE, 141, VESK_NONE, VESK_NONE)                                                  \
    X(VESK_VIDEO_MSG_VERYFY_IMAGE, 142, VESK_RECORD(VeskVideoVerifyImageReq), VESK_NONE)                     \
    X(VESK_VIDEO_MSG_SET_SR_ENABLE, 143, VESK_NONE, VESK_NONE)                                               \
    X(VESK_VIDEO_MSG_SET_FILTER_WINDOW, 144, VESK_ARRAY(VeskVideoFilterWindow, ulParam2), VESK_NONE)         \
    X(VESK_VIDEO_MSG_DELETE_FILTER_WINDOW, 145, VESK_ARRAY(VeskVideoFilterWindow, ulParam2), VESK_NONE)      \
    X(VESK_VIDEO_MSG_SET_DEFAULT_IMAGE, 146, VESK_TEXT(4096), VESK_NONE)                                     \
    X(VESK_VIDEO_MSG_CAMERA_CONTROL, 147, VESK_BYTES, VESK_BYTES)                                            \
    X(VESK_VIDEO_MSG_SET_PRESET, 148, VESK_RECORD(VeskVideoPresetInfo), VESK_NONE)                           \
    X(VESK_VIDEO_MSG_GET_PRESET_COUNT, 149, VESK_NONE, VESK_RECORD(uint32_t))                                \
    X(VESK_VIDEO_MSG_QUERY_PRESET, 150, VESK_NONE, VESK_ARRAY(VeskVideoPresetInfo, ulParam2))                \
    X(VESK_VIDEO_MSG_GET_BOUNDARY_STATE, 151, VESK_NONE, VESK_RECORD(VeskVideoBoundaryState))                \
    X(VESK_VIDEO_MSG_VI_SET_EPTZ_MOVE_SPEED, 152, VESK_NONE, VESK_NONE)                                      \
    X(VESK_VIDEO_MSG_GET_CAPABILITY, 153, VESK_NONE, VESK_RECORD(VeskVideoCapability))                       \
    X(VESK_VIDEO_MSG_SET_DISPLAY_MODE, 154, VESK_RECORD(VeskVideoDisplayInfo), VESK_NONE)                    \
    X(VESK_VIDEO_MSG_CREATE_OVERLAY_CHANNEL_PARAM, 155, VESK_NONE, VESK_RECORD(uint32_t))                    \
    X(VESK_VIDEO_MSG_GET_OVERLAY_QUE_HANDLE, 156, VESK_NONE, VESK_RECORD(uint32_t))                          \
    X(VESK_VIDEO_MSG_SET_OVERLAY_PARAM, 157, VESK_RECORD(VeskVideoOverlayParam), VESK_NONE)                  \
    X(VESK_VIDEO_MSG_DESTROY_OVERLAY_PARAM, 158, VESK_NONE, VESK_NONE)                                       \
    X(VESK_VIDEO_MSG_ENABLE_OVERLAY_PARAM, 159, VESK_NONE, VESK_NONE)                                        \
    X(VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS, 160, VESK_NONE, VESK_NONE)                                        \
    X(VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION, 161, VESK_NONE, VESK_NONE)                               \
    X(VESK_VIDEO_MSG_VO_WINDOW_DESTROY, 162, VESK_NONE, VESK_NONE)                                           \
    X(VESK_VIDEO_MSG_SET_CALLBACK, 163, VESK_RECORD(VeskVideoCallbackInfo), VESK_NONE)

/** All notifications, as X(name, number). */
#define VESK_VIDEO_NOTIFICATIONS(X)                                                                          \
    X(VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY, 0)                                                              \
    X(VESK_VIDEO_ON_ENCODE_RESOURCE_INSUFFICIENT, 1)                                                         \
    X(VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY, 2)                                                                 \
    X(VESK_VIDEO_ON_DECODE_RECREATE_OK_NOTIFY, 3)                                                            \
    X(VESK_VIDEO_ON_DECODE_STATUS_NOTIFY, 4)                                                                 \
    X(VESK_VIDEO_ON_IFREAME_REQUEST, 5)                                                                      \
    X(VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY, 6)                                                              \
    X(VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY, 100)                                                          \
    X(VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY, 101)                                                            \
    X(VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY, 102)                                                          \
    X(VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY, 103)                                                          \
    X(VESK_VIDEO_ON_NOTIFY_104, 104)                                                                         \
    X(VESK_VIDEO_ON_NOTIFY_105, 105)                                                                         \
    X(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY, 106)                                                         \
    X(VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY, 107)                                                          \
    X(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY, 108)                                                        \
    X(VESK_VIDEO_ON_NOTIFY_200, 200)                                                                         \
    X(VESK_VIDEO_ON_NOTIFY_201, 201)                                                                         \
    X(VESK_VIDEO_ON_NOTIFY_202, 202)                                                                         \
    X(VESK_VIDEO_ON_NOTIFY_203, 203)                                                                         \
    X(VESK_VIDEO_ON_NOTIFY_204, 204)                                                                         \
    X(VESK_VIDEO_ON_NOTIFY_205, 205)                                                                         \
    X(VESK_VIDEO_ON_NOTIFY_16, 16)                                                                           \
    X(VESK_VIDEO_ON_NOTIFY_17, 17)                                                                           \
    X(VESK_VIDEO_ON_NOTIFY_18, 18)                                                                           \
    X(VESK_VIDEO_ON_NOTIFY_31, 31)                                                                           \
    X(VESK_VIDEO_ON_VIDEO_DIE_NOTIFY, 206)                                                                   \
    X(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY, 207)                                                              \
    X(VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY, 109)                                               \
    X(VESK_VIDEO_ON_VIDEO_CAPABILITY_UPDATE, 208)

#define VESK_VIDEO_REQUEST_ENUMERATOR(name, number, payload, answer) name = (number),
#define VESK_VIDEO_NOTIFICATION_ENUMERATOR(name, number) name = (number),

/** Request numbers: the header's msgId. */
typedef enum VeskVideoRequest { VESK_VIDEO_REQUESTS(VESK_VIDEO_REQUEST_ENUMERATOR) } VeskVideoRequest;

/** Notification numbers: the envelope's msgId, and the callback's first argument. */
typedef enum VeskVideoNotification {
    VESK_VIDEO_NOTIFICATIONS(VESK_VIDEO_NOTIFICATION_ENUMERATOR)
} VeskVideoNotification;

#undef VESK_VIDEO_REQUEST_ENUMERATOR
#undef VESK_VIDEO_NOTIFICATION_ENUMERATOR

#endif
