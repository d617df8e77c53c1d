/**
 * @file
 * What the virtual video service adds to the interface: its result codes, its limits, and its layout of the
 * records whose contents only the service knows.
 */
#ifndef VESK_SERVICE_VIRTUAL_SERVICE_H
#define VESK_SERVICE_VIRTUAL_SERVICE_H

#include "vesk_video/vesk_video.h"

/** Result codes of the virtual service; the library itself returns none of them. */
enum VeskServiceResult {
    VESK_SERVICE_ERR_REQUEST = 0x201,    /**< Unknown request number. */
    VESK_SERVICE_ERR_LENGTH = 0x202,     /**< The payload has the wrong length, or is not a text. */
    VESK_SERVICE_ERR_NUMBER = 0x203,     /**< No port, engine, stream, channel or queue has this number. */
    VESK_SERVICE_ERR_BUSY = 0x204,       /**< The port or channel is open already. */
    VESK_SERVICE_ERR_STATE = 0x205,      /**< Not possible now: already started, not configured, and so on. */
    VESK_SERVICE_ERR_DISABLED = 0x206,   /**< The port is disabled. */
    VESK_SERVICE_ERR_VALUE = 0x207,      /**< A value is out of range, or a text is not usable. */
    VESK_SERVICE_ERR_ROOM = 0x208,       /**< The limit of the device is reached. */
    VESK_SERVICE_ERR_UNPLUGGED = 0x209,  /**< Nothing is plugged into the port. */
    VESK_SERVICE_ERR_NOT_YET = 0x20a,    /**< The queue exists only once the engine is started. */
    VESK_SERVICE_ERR_UNREACHABLE = 0x20b /**< The argument is an address in the client's memory. */
};

/** Limits of the default device; a device file can describe another. */
enum VeskServiceLimit {
    VESK_SERVICE_INPUTS = 3,             /**< A camera, a PC input, a network camera. */
    VESK_SERVICE_OUTPUTS = 2,            /**< Displays. */
    VESK_SERVICE_MAX_ENCODERS = 16,      /**< Encoder channels, and as many decoder channels. */
    VESK_SERVICE_ENCODERS_AT_SPEED = 4,  /**< Encoders that can run without an overload. */
    VESK_SERVICE_MAX_OVERLAYS = 8,       /**< Overlay channels. */
    VESK_SERVICE_MAX_MICE = 4,           /**< Mouse streams of each kind. */
    VESK_SERVICE_MAX_UVC = 8,            /**< UVC streams, numbered from 0. */
    VESK_SERVICE_MAX_LOOPS = 16,         /**< Stream loops. */
    VESK_SERVICE_MAX_STREAMS = 64,       /**< Streams that an input engine is connected to. */
    VESK_SERVICE_MAX_QUEUES = 1024,      /**< Announced queues. */
    VESK_SERVICE_MAX_OWN_QUEUES = 128,   /**< Queues that one process has announced. */
    VESK_SERVICE_MAX_PRESETS = 64,       /**< Presets of a camera. */
    VESK_SERVICE_MAX_PRESET_QUERY = 1024 /**< Entries of one preset query. */
};

/** Camera commands that move the virtual camera by one step; all others are only counted. */
enum VeskServiceCameraCommand {
    VESK_SERVICE_CAM_LEFT = 1,
    VESK_SERVICE_CAM_RIGHT = 2,
    VESK_SERVICE_CAM_UP = 3,
    VESK_SERVICE_CAM_DOWN = 4,
    VESK_SERVICE_CAM_STEPS = 10 /**< Steps from the centre to a boundary. */
};

/** The answer to the camera command @ref VESK_VIDEO_CAM_CTRL_QUERY. */
typedef struct VeskServiceCameraState {
    int32_t pan;       /**< Steps to the right of the centre. */
    int32_t tilt;      /**< Steps above the centre. */
    uint32_t commands; /**< Commands executed. */
} VeskServiceCameraState;
VESK_VIDEO_ASSERT_SIZE(VeskServiceCameraState, 12);

/** Layout of a VeskVideoBoundaryState; -1: left or lower boundary, 0: none, 1: right or upper boundary. */
typedef struct VeskServiceBoundary {
    int32_t pan;  /**< Horizontal. */
    int32_t tilt; /**< Vertical. */
} VeskServiceBoundary;
VESK_VIDEO_ASSERT_SIZE(VeskServiceBoundary, sizeof(VeskVideoBoundaryState));

/** Layout of a VeskVideoViPortInfo. */
typedef struct VeskServiceViPort {
    uint32_t port;             /**< Port number. */
    uint32_t portType;         /**< 1 camera, 2 PC, @ref VESK_VIDEO_PORT_TYPE_NET_CAMERA network camera. */
    uint32_t plugged;          /**< 1: a source is plugged in. */
    uint32_t enabled;          /**< 0 after VeskVideoViDisable. */
    uint32_t inEngNo;          /**< Engine that reads it, 0 for none. */
    uint32_t started;          /**< 1: the engine is started. */
    uint32_t streams;          /**< Streams that the engine is connected to. */
    uint32_t frozen;           /**< Flag of VeskVideoViFreeze. */
    uint32_t frozenLength;     /**< Bytes of data of VeskVideoViFreeze. */
    uint32_t faceQueue;        /**< Set by VeskVideoSetViFaceQueHandle. */
    int32_t eptzMoveSpeed;     /**< Set by VeskVideoViSetEptzMoveSpeed. */
    uint32_t appTaskHandle[2]; /**< Set by VeskVideoSetAppCaptureParam; low half first. */
    uint32_t width;            /**< Pixels. */
    uint32_t height;           /**< Pixels. */
    uint32_t fr;               /**< Frames per second. */
    uint32_t vioCallback;      /**< First word of the record of VeskVideoSetVioCallback. */
    char name[64];             /**< NUL-terminated. */
    uint8_t reserved[192];     /**< Always 0. */
} VeskServiceViPort;
VESK_VIDEO_ASSERT_SIZE(VeskServiceViPort, sizeof(VeskVideoViPortInfo));

/** Layout of a VeskVideoVoPortInfo. */
typedef struct VeskServiceVoPort {
    uint32_t port;          /**< Port number. */
    uint32_t plugged;       /**< 1: a display is plugged in. */
    uint32_t enabled;       /**< 0 after VeskVideoVoDisable. */
    uint32_t outEngNo;      /**< Engine that drives it, 0 for none. */
    uint32_t started;       /**< 1: the engine is started. */
    int32_t xOffset;        /**< Set by VeskVideoVoSetOffset. */
    int32_t yOffset;        /**< Set by VeskVideoVoSetOffset. */
    uint32_t queHandle;     /**< Set by VeskVideoVoSetQueHandle. */
    uint32_t width;         /**< Pixels of the display. */
    uint32_t height;        /**< Pixels of the display. */
    uint32_t fr;            /**< Frames per second. */
    uint32_t pictures;      /**< Pictures shown. */
    uint32_t displayMode;   /**< Set by VeskVideoVoSetDisplayMode for all displays. */
    uint32_t displayFps;    /**< Likewise. */
    uint32_t srEnabled;     /**< Set by VeskVideoVoSetByomSrEnable for all displays. */
    uint32_t filterWindows; /**< Filter windows of all displays. */
    char name[64];          /**< NUL-terminated. */
    char defaultImage[64];  /**< Start of the path of VeskVideoVoSetDefaultImage. */
    uint8_t reserved[2184]; /**< Always 0. */
} VeskServiceVoPort;
VESK_VIDEO_ASSERT_SIZE(VeskServiceVoPort, sizeof(VeskVideoVoPortInfo));

/** Layout of a VeskVideoEncStatus or VeskVideoDecStatus. */
typedef struct VeskServiceCodecStatus {
    uint32_t started;   /**< 1: the channel is started. */
    uint32_t width;     /**< Pixels. */
    uint32_t height;    /**< Pixels. */
    uint32_t frameRate; /**< Frames per second; 0 for a decoder. */
    uint32_t queId;     /**< Queue of the channel. */
    uint32_t keyFrames; /**< Key frames requested; 0 for a decoder. */
    uint32_t state;     /**< Encoder: 1 with forward error correction. Decoder: anti-jitter state. */
} VeskServiceCodecStatus;
VESK_VIDEO_ASSERT_SIZE(VeskServiceCodecStatus, sizeof(VeskVideoEncStatus));
VESK_VIDEO_ASSERT_SIZE(VeskServiceCodecStatus, sizeof(VeskVideoDecStatus));

/** Layout of a VeskVideoEncStatusInfo or VeskVideoDecStatusInfo; entries after the last channel are 0. */
typedef struct VeskServiceCodecStatusInfo {
    uint32_t stmNo;                /**< Stream number. */
    VeskServiceCodecStatus status; /**< Its status. */
} VeskServiceCodecStatusInfo;
VESK_VIDEO_ASSERT_SIZE(VeskServiceCodecStatusInfo, sizeof(VeskVideoEncStatusInfo));
VESK_VIDEO_ASSERT_SIZE(VeskServiceCodecStatusInfo, sizeof(VeskVideoDecStatusInfo));

/** Start of a VeskVideoEncChrStatistics or VeskVideoDecChrStatistics; the rest is 0. */
typedef struct VeskServiceCodecStatistics {
    uint32_t starts;  /**< Starts of the channel. */
    uint32_t stops;   /**< Stops of the channel. */
    uint32_t changes; /**< Changes of its parameters or frame rate. */
} VeskServiceCodecStatistics;

/** Payload of notification 4. */
typedef struct VeskServiceDecodeState {
    uint32_t decStmNo; /**< Decoder stream number. */
    uint32_t state;    /**< 1: started. */
} VeskServiceDecodeState;

/** Layout of a VeskVideoCapability. */
typedef struct VeskServiceCapability {
    uint32_t type;  /**< 0: inputs, 1: outputs, 2: encoder channels, 3: decoder channels. */
    uint32_t value; /**< How many there are. */
} VeskServiceCapability;
VESK_VIDEO_ASSERT_SIZE(VeskServiceCapability, sizeof(VeskVideoCapability));

#endif
