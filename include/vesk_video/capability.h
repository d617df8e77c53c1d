/**
 * @file
 * @copybrief capabilities
 *
 * @copydetails capabilities
 *
 * @defgroup capabilities Capabilities
 * What the device can do, and what each codec can encode and decode.
 *
 * Threading, ownership and the common result codes: see common.h.
 * @{
 */
#ifndef VESK_VIDEO_CAPABILITY_H
#define VESK_VIDEO_CAPABILITY_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

enum {
    VESK_VIDEO_CODEC_NUM = 14 /**< Codec entries of a capability record. */
};

/** Encoding capability of one codec. Flags are nonzero for yes; units not given here are service-defined. */
typedef struct VeskVideoEncCodecCapability {
    uint8_t support; /**< Flag: the codec is available. */
    uint8_t padding0[3];
    uint32_t blocksPs;     /**< Blocks per second. */
    uint32_t blockspf;     /**< Blocks per frame. */
    uint32_t maxWidth;     /**< Maximum picture width in pixels. */
    uint32_t minWidth;     /**< Minimum picture width in pixels. */
    uint32_t maxHeight;    /**< Maximum picture height in pixels. */
    uint32_t minHeight;    /**< Minimum picture height in pixels. */
    uint32_t maxBandWidth; /**< Maximum bandwidth. */
    uint32_t h264MaxLevel; /**< Maximum H.264 level. */
    uint32_t h265MaxLevel; /**< Maximum H.265 level. */
    uint8_t isSvc;         /**< Flag: scalable coding. */
    uint8_t profiles[6];   /**< One flag per profile. */
    uint8_t fecs[3];       /**< One flag per kind of forward error correction. */
    uint8_t padding1[2];
} VeskVideoEncCodecCapability;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncCodecCapability, 52);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncCodecCapability, h265MaxLevel, 36);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncCodecCapability, profiles, 41);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncCodecCapability, fecs, 47);

/** Encoding capability of the service. */
typedef struct VeskVideoEncodeCapability {
    uint32_t maxChannel; /**< Number of simultaneous channels; unrelated to the number of codec entries. */
    VeskVideoEncCodecCapability
        codec[VESK_VIDEO_CODEC_NUM]; /**< One entry per codec, indexed by codec number. */
} VeskVideoEncodeCapability;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncodeCapability, 732);

/** Decoding capability of one codec. Flags are nonzero for yes; units not given here are service-defined. */
typedef struct VeskVideoDecCodecCapability {
    uint8_t support; /**< Flag: the codec is available. */
    uint8_t padding0[3];
    uint32_t blocksPs;   /**< Blocks per second. */
    uint32_t maxWidth;   /**< Maximum picture width in pixels. */
    uint32_t minWidth;   /**< Minimum picture width in pixels. */
    uint32_t maxHeight;  /**< Maximum picture height in pixels. */
    uint32_t minHeight;  /**< Minimum picture height in pixels. */
    uint8_t isSvc;       /**< Flag: scalable coding. */
    uint8_t isTile;      /**< Flag: tiles. */
    uint8_t profiles[6]; /**< One flag per profile. */
    uint8_t fecs[3];     /**< One flag per kind of forward error correction. */
    uint8_t padding1;
} VeskVideoDecCodecCapability;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDecCodecCapability, 36);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDecCodecCapability, isSvc, 24);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDecCodecCapability, profiles, 26);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDecCodecCapability, fecs, 32);

/** Decoding capability of the service. */
typedef struct VeskVideoDecodeCapability {
    uint32_t maxChannel; /**< Number of simultaneous channels; unrelated to the number of codec entries. */
    VeskVideoDecCodecCapability
        codec[VESK_VIDEO_CODEC_NUM]; /**< One entry per codec, indexed by codec number. */
} VeskVideoDecodeCapability;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDecodeCapability, 508);

/** One capability of the device; opaque. */
typedef struct VeskVideoCapability {
    uint32_t serviceData[2];
} VeskVideoCapability;
VESK_VIDEO_ASSERT_SIZE(VeskVideoCapability, 8);

/**
 * Gets the encoding capability of the service, and logs it.
 *
 * @pre VeskVideoInit has been called.
 * @param encodeCapability  Receives the capability.
 * @retval VESK_VIDEO_ERR_FAILURE  @p encodeCapability is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoGetEncodeCapability(VeskVideoEncodeCapability* encodeCapability);

/**
 * Gets the decoding capability of the service, and logs it.
 *
 * @pre VeskVideoInit has been called.
 * @param decodeCapability  Receives the capability.
 * @retval VESK_VIDEO_ERR_FAILURE  @p decodeCapability is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoGetDecodeCapability(VeskVideoDecodeCapability* decodeCapability);

/**
 * Gets one capability of the device.
 *
 * @pre VeskVideoInit has been called.
 * @param capabilityType  Number of the capability; service-defined.
 * @param capability      Receives the capability.
 * @retval VESK_VIDEO_ERR_FAILURE  @p capability is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoGetCapability(uint32_t capabilityType, VeskVideoCapability* capability);

VESK_VIDEO_END

/** @} */

#endif
