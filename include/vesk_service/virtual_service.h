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
    VESK_SERVICE_INPUTS = 3,                /**< A camera, a PC input, a network camera. */
    VESK_SERVICE_OUTPUTS = 2,               /**< Displays. */
    VESK_SERVICE_MAX_ENCODERS = 16,         /**< Encoder channels, and as many decoder channels. */
    VESK_SERVICE_ENCODERS_AT_SPEED = 4,     /**< Encoders that can run without an overload. */
    VESK_SERVICE_BLOCKS_AT_SPEED = 3888000, /**< Blocks per second that they can code without one. */
    VESK_SERVICE_MAX_BLOCKS = 7776000,      /**< Blocks per second of all encoders that run. */
    VESK_SERVICE_MAX_OVERLAYS = 8,          /**< Overlay channels. */
    VESK_SERVICE_MAX_MICE = 4,              /**< Mouse streams of each kind. */
    VESK_SERVICE_MAX_UVC = 8,               /**< UVC streams, numbered from 0. */
    VESK_SERVICE_MAX_LOOPS = 16,            /**< Stream loops. */
    VESK_SERVICE_MAX_STREAMS = 64,          /**< Streams that an input engine is connected to. */
    VESK_SERVICE_MAX_QUEUES = 1024,         /**< Announced queues. */
    VESK_SERVICE_MAX_OWN_QUEUES = 128,      /**< Queues that one process has announced. */
    VESK_SERVICE_MAX_PRESETS = 64,          /**< Presets of a camera. */
    VESK_SERVICE_MAX_PRESET_QUERY = 1024    /**< Entries of one preset query. */
};

/** Camera commands that move the virtual camera by one step; all others are only counted and shown. */
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
    uint32_t plugged;          /**< 1: a source is plugged in, or a virtual one set. */
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

/** A rectangle; one that is all 0 stands for the whole. */
typedef struct VeskServiceRect {
    int32_t x;      /**< To the right of the left edge. */
    int32_t y;      /**< Below the upper edge. */
    int32_t width;  /**< At least 1. */
    int32_t height; /**< At least 1. */
} VeskServiceRect;

/** How a source fills its window: VeskServiceSubPic::showMode and others. */
enum VeskServiceShowMode {
    VESK_SERVICE_STRETCH =
        0,                  /**< The whole source, stretched to the window. Any other number does the same. */
    VESK_SERVICE_FIT = 1,   /**< The whole source in its proportions, as large as the window allows. */
    VESK_SERVICE_FILL = 2,  /**< The whole window, by as much of the source as its proportions allow. */
    VESK_SERVICE_CENTRE = 3 /**< Pixel by pixel, in the middle of the window. */
};

/** How a source is mirrored; both can be combined. */
enum VeskServiceMirror {
    VESK_SERVICE_MIRROR_HORIZONTALLY = 1, /**< Left and right are exchanged. */
    VESK_SERVICE_MIRROR_VERTICALLY = 2    /**< Top and bottom are exchanged. */
};

/** What the displays show: VeskVideoDisplayInfo::displayMode. */
enum VeskServiceDisplayMode {
    VESK_SERVICE_DISPLAY_EACH = 0,      /**< Each display shows what its own engine composes. */
    VESK_SERVICE_DISPLAY_CLONE = 1,     /**< Every display shows what the first one's engine composes. */
    VESK_SERVICE_DISPLAY_FIRST_ONLY = 2 /**< The first display shows its own, all others nothing. */
};

/**
 * Layout of a VeskVideoSubPicParam. Its window counts in basWidth x basHeight when neither is 0, else in the
 * pixels of the display. Pictures without a window are arranged: one fills the display, more share it as a
 * grid.
 */
typedef struct VeskServiceSubPic {
    VeskServiceRect window; /**< Where it is shown. */
    int32_t layer;          /**< A higher one lies in front; within a layer, later pictures do. */
    uint32_t opacity;       /**< Per cent, up to 100; 0 stands for 100. */
    uint8_t decFlag;        /**< 0: inputId is an input engine; else a decoder. */
    uint8_t padding0[3];
    uint32_t inputId;   /**< What is shown. */
    uint8_t sufaceFlag; /**< Kept, without effect. */
    uint8_t padding1[7];
    uint64_t winHandle; /**< Window of the application. */
    uint8_t padding2[8];
    uint32_t colorSpace; /**< Kept, without effect. */
    uint8_t mirror;      /**< VeskServiceMirror. */
    uint8_t padding3[3];
    uint32_t showMode; /**< VeskServiceShowMode. */
    uint8_t padding4[12];
    uint32_t basWidth;    /**< Width of the grid in which the window counts. */
    uint32_t basHeight;   /**< Height of that grid. */
    VeskServiceRect crop; /**< The part of the source that is shown, in its pixels. */
    uint8_t reserved[80]; /**< Kept, without effect. */
} VeskServiceSubPic;
VESK_VIDEO_ASSERT_SIZE(VeskServiceSubPic, sizeof(VeskVideoSubPicParam));
VESK_VIDEO_ASSERT_OFFSET(VeskServiceSubPic, winHandle, 40);
VESK_VIDEO_ASSERT_OFFSET(VeskServiceSubPic, basWidth, 80);

/** Layout of a VeskVideoOverlayParam. */
typedef struct VeskServiceOverlay {
    uint8_t flag0; /**< Kept, without effect. */
    uint8_t flag1; /**< Likewise. */
    uint8_t flag2; /**< Likewise. */
    uint8_t padding;
    VeskServiceRect window; /**< Where it is shown, in the pixels of the display. */
    int32_t layer;         /**< A higher one lies in front; within a layer, the higher channel number does. */
    uint32_t opacity;      /**< Per cent, up to 100; 0 stands for 100. */
    uint32_t display;      /**< Number of the output port. */
    uint32_t showMode;     /**< VeskServiceShowMode. */
    uint8_t reserved[280]; /**< Kept, without effect. */
    char picture[764];     /**< Path of the picture to show; NUL-terminated. */
} VeskServiceOverlay;
VESK_VIDEO_ASSERT_SIZE(VeskServiceOverlay, sizeof(VeskVideoOverlayParam));
VESK_VIDEO_ASSERT_OFFSET(VeskServiceOverlay, picture, 316);

/** Layout of a VeskVideoFilterWindow: a part of a display, in its pixels, that pictures leave free. */
typedef struct VeskServiceFilterWindow {
    uint16_t x;      /**< To the right of the left edge. */
    uint16_t y;      /**< Below the upper edge. */
    uint16_t width;  /**< If a side is 0, it leaves nothing free. */
    uint16_t height; /**< Likewise. */
} VeskServiceFilterWindow;
VESK_VIDEO_ASSERT_SIZE(VeskServiceFilterWindow, sizeof(VeskVideoFilterWindow));

/** Layout of a VeskVideoLocalMouseParam: where the pointer is, in the pixels of its display. */
typedef struct VeskServicePoint {
    int32_t x; /**< To the right of the left edge. */
    int32_t y; /**< Below the upper edge. */
} VeskServicePoint;
VESK_VIDEO_ASSERT_SIZE(VeskServicePoint, sizeof(VeskVideoLocalMouseParam));

/* The layout of a VeskVideoMouseArea is a VeskServiceRect, in the pixels of the decoder's picture. */
VESK_VIDEO_ASSERT_SIZE(VeskServiceRect, sizeof(VeskVideoMouseArea));

/** Layout of a VeskVideoEptzParams. */
typedef struct VeskServiceEptz {
    VeskServiceRect crop;  /**< The part of the captured picture that the port delivers, in its pixels. */
    uint8_t reserved[772]; /**< Kept, without effect. */
} VeskServiceEptz;
VESK_VIDEO_ASSERT_SIZE(VeskServiceEptz, sizeof(VeskVideoEptzParams));

/** Layout of a VeskVideoPtzfParams. */
typedef struct VeskServicePtzf {
    int32_t pan;           /**< Steps to the right, added to those of camera commands. */
    int32_t tilt;          /**< Steps up, likewise. */
    uint32_t zoom;         /**< Per cent, from 100 to 10000; 0 stands for 100. */
    int32_t focus;         /**< Kept, without effect. */
    uint8_t reserved[312]; /**< Likewise. */
} VeskServicePtzf;
VESK_VIDEO_ASSERT_SIZE(VeskServicePtzf, sizeof(VeskVideoPtzfParams));

/** Layout of a VeskVideoAppInParam: a picture that the application captures. */
typedef struct VeskServiceAppIn {
    char name[256];      /**< Name of the source; NUL-terminated. */
    uint64_t taskHandle; /**< Handle of the application's task. */
    uint32_t width;      /**< Pixels; with the next two 0, the picture has the port's mode. */
    uint32_t height;     /**< Pixels. */
    uint32_t fr;         /**< Frames per second. */
    uint32_t format;     /**< Kept, without effect. */
    int32_t rotation;    /**< Kept, without effect. */
    uint32_t padding;
} VeskServiceAppIn;
VESK_VIDEO_ASSERT_SIZE(VeskServiceAppIn, sizeof(VeskVideoAppInParam));

/** Layout of a VeskVideoSnapshotParam. */
typedef struct VeskServiceSnapshot {
    char path[260];       /**< File that the snapshot is meant for; NUL-terminated. */
    uint32_t voPort;      /**< Number of the output port. */
    uint32_t taskId;      /**< The application's number for the job. */
    uint8_t reserved[12]; /**< Kept, without effect. */
} VeskServiceSnapshot;
VESK_VIDEO_ASSERT_SIZE(VeskServiceSnapshot, sizeof(VeskVideoSnapshotParam));
VESK_VIDEO_ASSERT_OFFSET(VeskServiceSnapshot, taskId, 264);

/** Layout of a VeskVideoWallpaperParam: what all displays show behind everything else. */
typedef struct VeskServiceWallpaper {
    char path[1024];        /**< File of the wallpaper; NUL-terminated. Empty: none. */
    uint32_t showMode;      /**< VeskServiceShowMode. */
    uint8_t reserved[1020]; /**< Kept, without effect. */
} VeskServiceWallpaper;
VESK_VIDEO_ASSERT_SIZE(VeskServiceWallpaper, sizeof(VeskVideoWallpaperParam));

/** Layout of a VeskVideoDisplayLink. */
typedef struct VeskServiceDisplayLink {
    int32_t viPort;    /**< Input port whose picture is shown; -1 for none. */
    char portName[64]; /**< Its name; of a decoder's picture or a default image, the display's. */
    uint8_t isDec;     /**< 1: the picture comes from a decoder. */
    uint8_t padding[3];
    uint32_t surfaceId; /**< Output engine that shows it. */
    uint32_t decStmNo;  /**< Number of the decoder, or 0. */
} VeskServiceDisplayLink;
VESK_VIDEO_ASSERT_SIZE(VeskServiceDisplayLink, sizeof(VeskVideoDisplayLink));

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

/**
 * Start of a VeskVideoEncChrStatistics or VeskVideoDecChrStatistics; the rest is 0. A decoder counts what
 * comes to it: the frames of encoders that are looped to it, while they and it run and the loop is on.
 */
typedef struct VeskServiceCodecStatistics {
    uint32_t starts;    /**< Starts of the channel. */
    uint32_t stops;     /**< Stops of the channel. */
    uint32_t changes;   /**< Changes of its parameters or frame rate. */
    uint32_t keyFrames; /**< Key frames: the first of each start, and each that was asked for. */
    uint64_t frames;    /**< Frames whose time has passed. */
} VeskServiceCodecStatistics;
VESK_VIDEO_ASSERT_SIZE(VeskServiceCodecStatistics, 24);

/** Payload of notification 4. */
typedef struct VeskServiceDecodeState {
    uint32_t decStmNo; /**< Decoder stream number. */
    uint32_t state;    /**< 1: started, 0: stopped. */
} VeskServiceDecodeState;

/** Layout of a VeskVideoCapability. */
typedef struct VeskServiceCapability {
    uint32_t type;  /**< 0: inputs, 1: outputs, 2: encoder channels, 3: decoder channels. */
    uint32_t value; /**< How many there are. */
} VeskServiceCapability;
VESK_VIDEO_ASSERT_SIZE(VeskServiceCapability, sizeof(VeskVideoCapability));

#endif
