/**
 * @file
 * What the virtual video service adds to the interface: its own result codes, and what it writes into
 * the records whose contents are the service's.
 */
#ifndef VESK_SERVICE_VIRTUAL_SERVICE_H
#define VESK_SERVICE_VIRTUAL_SERVICE_H

#include "vesk_video/output.h"

/** Result codes of the virtual service; none of them is one that the library makes itself. */
enum VeskServiceResult {
    VESK_SERVICE_ERR_REQUEST = 0x201,  /**< Unknown request number. */
    VESK_SERVICE_ERR_LENGTH = 0x202,   /**< The payload has not the length that the request asks for. */
    VESK_SERVICE_ERR_NUMBER = 0x203,   /**< No port or engine has this number. */
    VESK_SERVICE_ERR_BUSY = 0x204,     /**< The port is open already. */
    VESK_SERVICE_ERR_STATE = 0x205,    /**< Not in this state: started twice, or stopped while not started. */
    VESK_SERVICE_ERR_DISABLED = 0x206, /**< The port is disabled. */
    VESK_SERVICE_ERR_VALUE = 0x207     /**< A value or text that makes no sense. */
};

/** What the service writes into a VeskVideoVoPortInfo. */
typedef struct VeskServiceVoPort {
    uint32_t port;      /**< Port number. */
    uint32_t plugged;   /**< 1: a display is plugged in. */
    uint32_t enabled;   /**< 1 unless VeskVideoVoDisable was called. */
    uint32_t outEngNo;  /**< Engine that drives it, 0 for none. */
    uint32_t started;   /**< 1: the engine is started. */
    int32_t xOffset;    /**< As VeskVideoVoSetOffset set it. */
    int32_t yOffset;    /**< As VeskVideoVoSetOffset set it. */
    uint32_t queHandle; /**< As VeskVideoVoSetQueHandle set it. */
    uint32_t width;     /**< Pixels of the display. */
    uint32_t height;    /**< Pixels of the display. */
    uint32_t fr;        /**< Frames per second. */
    char name[64];      /**< NUL-terminated. */
    uint8_t reserved[2268];
} VeskServiceVoPort;
VESK_VIDEO_ASSERT_SIZE(VeskServiceVoPort, sizeof(VeskVideoVoPortInfo));

#endif
