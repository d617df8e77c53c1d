/**
 * @file
 * What the virtual video service adds to the interface: its own result codes, its numbers, and what it
 * writes into the records whose contents are the service's.
 */
#ifndef VESK_SERVICE_VIRTUAL_SERVICE_H
#define VESK_SERVICE_VIRTUAL_SERVICE_H

#include "vesk_video/vesk_video.h"

/** Result codes of the virtual service; none of them is one that the library makes itself. */
enum VeskServiceResult {
    VESK_SERVICE_ERR_REQUEST = 0x201, /**< Unknown request number. */
    VESK_SERVICE_ERR_LENGTH = 0x202,  /**< The payload has not the length that the request asks for. */
    VESK_SERVICE_ERR_NUMBER = 0x203,  /**< No port, engine, stream, channel or queue has this number. */
    VESK_SERVICE_ERR_BUSY = 0x204,    /**< The port or channel is open already. */
    VESK_SERVICE_ERR_STATE =
        0x205, /**< Not in this state: started twice, not yet configured, and the like. */
    VESK_SERVICE_ERR_DISABLED = 0x206,   /**< The port is disabled. */
    VESK_SERVICE_ERR_VALUE = 0x207,      /**< A value or text that makes no sense. */
    VESK_SERVICE_ERR_ROOM = 0x208,       /**< As many as the device can carry are there already. */
    VESK_SERVICE_ERR_UNPLUGGED = 0x209,  /**< Nothing is plugged into the port. */
    VESK_SERVICE_ERR_NOT_YET = 0x20a,    /**< There is no queue before the engine is started. */
    VESK_SERVICE_ERR_UNREACHABLE = 0x20b /**< Given by address: another process's memory cannot be read. */
};

/** How much the virtual device carries. */
enum VeskServiceLimit {
    VESK_SERVICE_INPUTS = 3,             /**< A camera, a PC input, a network camera. */
    VESK_SERVICE_OUTPUTS = 2,            /**< Displays. */
    VESK_SERVICE_MAX_ENCODERS = 16,      /**< Encoder channels, and as many decoder channels. */
    VESK_SERVICE_ENCODERS_AT_SPEED = 4,  /**< Running encoders from which one more is an overload. */
    VESK_SERVICE_MAX_OVERLAYS = 8,       /**< Overlay channels. */
    VESK_SERVICE_MAX_MICE = 4,           /**< Mouse streams of each kind. */
    VESK_SERVICE_MAX_UVC = 8,            /**< UVC streams, numbered from 0. */
    VESK_SERVICE_MAX_LOOPS = 16,         /**< Stream loops. */
    VESK_SERVICE_MAX_PRESETS = 64,       /**< Presets of a camera. */
    VESK_SERVICE_MAX_PRESET_QUERY = 1024 /**< Entries of one preset query. */
};

/** Camera commands that move the virtual camera by one step; all others are counted only. */
enum VeskServiceCameraCommand {
    VESK_SERVICE_CAM_LEFT = 1,
    VESK_SERVICE_CAM_RIGHT = 2,
    VESK_SERVICE_CAM_UP = 3,
    VESK_SERVICE_CAM_DOWN = 4,
    VESK_SERVICE_CAM_STEPS = 10 /**< Steps from the middle to a boundary. */
};

/** The answer to the camera command @ref VESK_VIDEO_CAM_CTRL_QUERY. */
typedef struct VeskServiceCameraState {
    int32_t pan;       /**< Steps to the right of the middle. */
    int32_t tilt;      /**< Steps above the middle. */
    uint32_t commands; /**< Commands that the camera has taken. */
} VeskServiceCameraState;
VESK_VIDEO_ASSERT_SIZE(VeskServiceCameraState, 12);

/** What the service writes into a VeskVideoBoundaryState: -1, 0 or 1 for left or lower, none, right or upper.
 */
typedef struct VeskServiceBoundary {
    int32_t pan;  /**< To the right. */
    int32_t tilt; /**< Upwards. */
} VeskServiceBoundary;
VESK_VIDEO_ASSERT_SIZE(VeskServiceBoundary, sizeof(VeskVideoBoundaryState));

/** What the service writes into a VeskVideoViPortInfo. */
typedef struct VeskServiceViPort {
    uint32_t port;             /**< Port number. */
    uint32_t portType;         /**< 1 camera, 2 PC, @ref VESK_VIDEO_PORT_TYPE_NET_CAMERA network camera. */
    uint32_t plugged;          /**< 1: something is plugged in. */
    uint32_t enabled;          /**< 1 unless VeskVideoViDisable was called. */
    uint32_t inEngNo;          /**< Engine that reads it, 0 for none. */
    uint32_t started;          /**< 1: the engine is started. */
    uint32_t streams;          /**< Streams that the engine is connected to. */
    uint32_t frozen;           /**< Flag of the last VeskVideoViFreeze. */
    uint32_t frozenLength;     /**< Bytes of its data. */
    uint32_t faceQueue;        /**< As VeskVideoSetViFaceQueHandle set it. */
    int32_t eptzMoveSpeed;     /**< As VeskVideoViSetEptzMoveSpeed set it. */
    uint32_t appTaskHandle[2]; /**< Low and high half, as VeskVideoSetAppCaptureParam set it. */
    uint32_t width;            /**< Pixels. */
    uint32_t height;           /**< Pixels. */
    uint32_t fr;               /**< Frames per second. */
    uint32_t vioCallback;      /**< First word of VeskVideoSetVioCallback's record. */
    char name[64];             /**< NUL-terminated. */
    uint8_t reserved[192];     /**< Always 0. */
} VeskServiceViPort;
VESK_VIDEO_ASSERT_SIZE(VeskServiceViPort, sizeof(VeskVideoViPortInfo));

/** What the service writes into a VeskVideoVoPortInfo. */
typedef struct VeskServiceVoPort {
    uint32_t port;          /**< Port number. */
    uint32_t plugged;       /**< 1: a display is plugged in. */
    uint32_t enabled;       /**< 1 unless VeskVideoVoDisable was called. */
    uint32_t outEngNo;      /**< Engine that drives it, 0 for none. */
    uint32_t started;       /**< 1: the engine is started. */
    int32_t xOffset;        /**< As VeskVideoVoSetOffset set it. */
    int32_t yOffset;        /**< As VeskVideoVoSetOffset set it. */
    uint32_t queHandle;     /**< As VeskVideoVoSetQueHandle set it. */
    uint32_t width;         /**< Pixels of the display. */
    uint32_t height;        /**< Pixels of the display. */
    uint32_t fr;            /**< Frames per second. */
    uint32_t pictures;      /**< Pictures that it shows. */
    uint32_t displayMode;   /**< As VeskVideoVoSetDisplayMode set it, for all displays. */
    uint32_t displayFps;    /**< Likewise. */
    uint32_t srEnabled;     /**< As VeskVideoVoSetByomSrEnable set it, for all displays. */
    uint32_t filterWindows; /**< Filter windows, of all displays. */
    char name[64];          /**< NUL-terminated. */
    char defaultImage[64];  /**< The beginning of VeskVideoVoSetDefaultImage's path. */
    uint8_t reserved[2184]; /**< Always 0. */
} VeskServiceVoPort;
VESK_VIDEO_ASSERT_SIZE(VeskServiceVoPort, sizeof(VeskVideoVoPortInfo));

/** What the service writes into a VeskVideoEncStatus or VeskVideoDecStatus. */
typedef struct VeskServiceCodecStatus {
    uint32_t started;   /**< 1: the channel is started. */
    uint32_t width;     /**< Pixels. */
    uint32_t height;    /**< Pixels. */
    uint32_t frameRate; /**< Frames per second; 0 for a decoder. */
    uint32_t queId;     /**< Queue that was named for it. */
    uint32_t keyFrames; /**< Key frames that were asked for; 0 for a decoder. */
    uint32_t state;     /**< Encoder: 1 while forward error correction is set. Decoder: anti-jitter state. */
} VeskServiceCodecStatus;
VESK_VIDEO_ASSERT_SIZE(VeskServiceCodecStatus, sizeof(VeskVideoEncStatus));
VESK_VIDEO_ASSERT_SIZE(VeskServiceCodecStatus, sizeof(VeskVideoDecStatus));

/** What the service writes into a VeskVideoEncStatusInfo or VeskVideoDecStatusInfo; all 0 behind the last. */
typedef struct VeskServiceCodecStatusInfo {
    uint32_t stmNo;                /**< Stream number. */
    VeskServiceCodecStatus status; /**< Its status. */
} VeskServiceCodecStatusInfo;
VESK_VIDEO_ASSERT_SIZE(VeskServiceCodecStatusInfo, sizeof(VeskVideoEncStatusInfo));
VESK_VIDEO_ASSERT_SIZE(VeskServiceCodecStatusInfo, sizeof(VeskVideoDecStatusInfo));

/** The beginning of what the service writes into statistics records; all 0 behind it. */
typedef struct VeskServiceCodecStatistics {
    uint32_t starts;  /**< Times that the channel was started. */
    uint32_t stops;   /**< Times that it was stopped. */
    uint32_t changes; /**< Times that its parameters or its frame rate were set. */
} VeskServiceCodecStatistics;

/** Payload of notification 4. */
typedef struct VeskServiceDecodeState {
    uint32_t decStmNo; /**< Decoder stream number. */
    uint32_t state;    /**< 1: started. */
} VeskServiceDecodeState;

/** What the service writes into a VeskVideoCapability. */
typedef struct VeskServiceCapability {
    uint32_t type;  /**< As asked for: 0 inputs, 1 outputs, 2 encoder channels, 3 decoder channels. */
    uint32_t value; /**< How many there are. */
} VeskServiceCapability;
VESK_VIDEO_ASSERT_SIZE(VeskServiceCapability, sizeof(VeskVideoCapability));

#endif
