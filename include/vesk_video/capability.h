/**
 * @file
 * What the device and its codecs can do. Threads, ownership and the results that all requests share: see
 * common.h.
 */
#ifndef VESK_VIDEO_CAPABILITY_H
#define VESK_VIDEO_CAPABILITY_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

enum {
    VESK_VIDEO_CODEC_NUM = 14 /**< Codec entries of a capability record. */
};

/** What one codec can encode. Flags are 0 for no; units are the service's. */
typedef struct VeskVideoEncCodecCapability {
    uint8_t support;       /**< 0: the codec is not offered. */
    uint8_t padding0[3];   /**< Not read. */
    uint32_t blocksPs;     /**< Blocks per second. */
    uint32_t blockspf;     /**< Blocks per frame. */
    uint32_t maxWidth;     /**< Pixels. */
    uint32_t minWidth;     /**< Pixels. */
    uint32_t maxHeight;    /**< Pixels. */
    uint32_t minHeight;    /**< Pixels. */
    uint32_t maxBandWidth; /**< The service's unit. */
    uint32_t h264MaxLevel; /**< The service's numbering. */
    uint32_t h265MaxLevel; /**< The service's numbering. */
    uint8_t isSvc;         /**< Nonzero: scalable coding. */
    uint8_t profiles[6];   /**< Flags, one a profile. */
    uint8_t fecs[3];       /**< Flags, one a kind of error correction. */
    uint8_t padding1[2];   /**< Not read. */
} VeskVideoEncCodecCapability;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncCodecCapability, 52);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncCodecCapability, h265MaxLevel, 36);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncCodecCapability, profiles, 41);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncCodecCapability, fecs, 47);

/** What the service can encode. */
typedef struct VeskVideoEncodeCapability {
    uint32_t maxChannel; /**< Channels at once; does not bound the codec entries. */
    VeskVideoEncCodecCapability codec[VESK_VIDEO_CODEC_NUM]; /**< By codec number. */
} VeskVideoEncodeCapability;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncodeCapability, 732);

/** What one codec can decode. Flags are 0 for no; units are the service's. */
typedef struct VeskVideoDecCodecCapability {
    uint8_t support;     /**< 0: the codec is not offered. */
    uint8_t padding0[3]; /**< Not read. */
    uint32_t blocksPs;   /**< Blocks per second. */
    uint32_t maxWidth;   /**< Pixels. */
    uint32_t minWidth;   /**< Pixels. */
    uint32_t maxHeight;  /**< Pixels. */
    uint32_t minHeight;  /**< Pixels. */
    uint8_t isSvc;       /**< Nonzero: scalable coding. */
    uint8_t isTile;      /**< Nonzero: tiles. */
    uint8_t profiles[6]; /**< Flags, one a profile. */
    uint8_t fecs[3];     /**< Flags, one a kind of error correction. */
    uint8_t padding1;    /**< Not read. */
} VeskVideoDecCodecCapability;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDecCodecCapability, 36);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDecCodecCapability, isSvc, 24);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDecCodecCapability, profiles, 26);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDecCodecCapability, fecs, 32);

/** What the service can decode. */
typedef struct VeskVideoDecodeCapability {
    uint32_t maxChannel; /**< Channels at once; does not bound the codec entries. */
    VeskVideoDecCodecCapability codec[VESK_VIDEO_CODEC_NUM]; /**< By codec number. */
} VeskVideoDecodeCapability;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDecodeCapability, 508);

/** A capability of the device; its contents are the service's. */
typedef struct VeskVideoCapability {
    uint32_t serviceData[2]; /**< The service's, carried unchanged. */
} VeskVideoCapability;
VESK_VIDEO_ASSERT_SIZE(VeskVideoCapability, 8);

/**
 * Asks what the service can encode, and logs it.
 *
 * @param encodeCapability  Takes the capability.
 * @return 1 also when @p encodeCapability is null.
 */
VESK_VIDEO_API uint32_t VeskVideoGetEncodeCapability(VeskVideoEncodeCapability* encodeCapability);

/**
 * Asks what the service can decode, and logs it.
 *
 * @param decodeCapability  Takes the capability.
 * @return 1 also when @p decodeCapability is null.
 */
VESK_VIDEO_API uint32_t VeskVideoGetDecodeCapability(VeskVideoDecodeCapability* decodeCapability);

/**
 * Reads a capability of the device.
 *
 * @param capabilityType  Which; the service's numbers.
 * @param capability      Takes the capability.
 * @return 1 also when @p capability is null. A failed exchange is returned as such.
 */
VESK_VIDEO_API uint32_t VeskVideoGetCapability(uint32_t capabilityType, VeskVideoCapability* capability);

VESK_VIDEO_END

#endif
