/**
 * @file
 * Encoder channels. The life of a channel is kept by the service: create (which yields its stream number),
 * configure, start, stop, delete; the library sends whatever it is asked in whatever order. Threads,
 * ownership and the results that all requests share: see common.h.
 */
#ifndef VESK_VIDEO_ENCODER_H
#define VESK_VIDEO_ENCODER_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

enum {
    VESK_VIDEO_ENC_SVC_SW = 3 /**< The codec type that VeskVideoEncoderSetParam refuses. */
};

/** Parameters of an encoder; units, and the bytes named serviceData, are the service's. */
typedef struct VeskVideoEncParam {
    int32_t codcType;         /**< Codec type, not @ref VESK_VIDEO_ENC_SVC_SW. */
    uint32_t pt;              /**< Payload type. */
    uint32_t w;               /**< Picture width. */
    uint32_t h;               /**< Picture height. */
    uint32_t fr;              /**< Frame rate. */
    uint32_t br;              /**< Bit rate. */
    int32_t secType;          /**< The service's. */
    uint8_t serviceData0[4];  /**< The service's, carried unchanged. */
    int32_t stmType;          /**< Stream type. */
    int32_t effect;           /**< The service's. */
    uint8_t serviceData1[16]; /**< The service's, carried unchanged. */
    uint8_t isDtFmtCfg;       /**< The service's. */
    uint8_t padding[7];       /**< Not read. */
    uint64_t dtFmtCap;        /**< The service's. */
} VeskVideoEncParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncParam, 72);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncParam, secType, 24);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncParam, stmType, 32);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncParam, isDtFmtCfg, 56);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncParam, dtFmtCap, 64);

/** Extended parameters of an encoder; what they mean is the service's. */
typedef struct VeskVideoEncParamEx {
    uint32_t exParam0;      /**< 64 to 50000. */
    uint32_t exParam1;      /**< 0 to 2. */
    uint32_t exParam2;      /**< 0 to 4. */
    uint8_t exParam3;       /**< The service's. */
    uint8_t exParam4;       /**< The service's. */
    uint8_t exParam5;       /**< The service's. */
    uint8_t padding;        /**< Not read. */
    uint32_t exParam6;      /**< 0 to 4. */
    uint8_t serviceData[4]; /**< The service's, carried unchanged. */
} VeskVideoEncParamEx;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncParamEx, 24);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncParamEx, exParam3, 12);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncParamEx, exParam6, 16);

/** Forward error correction of an encoder. */
typedef struct VeskVideoEncFecParam {
    float lossRate;        /**< The service's unit. */
    uint32_t constLostNum; /**< The service's. */
} VeskVideoEncFecParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncFecParam, 8);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncFecParam, constLostNum, 4);

/** Status of one encoder; its contents are the service's. */
typedef struct VeskVideoEncStatus {
    uint32_t serviceData[7]; /**< The service's, carried unchanged. */
} VeskVideoEncStatus;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncStatus, 28);

/** One entry of the status of all encoders; its contents are the service's. */
typedef struct VeskVideoEncStatusInfo {
    uint32_t serviceData[8]; /**< The service's, carried unchanged. */
} VeskVideoEncStatusInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncStatusInfo, 32);

/** Statistics of one encoder; their contents are the service's. */
typedef struct VeskVideoEncChrStatistics {
    uint32_t serviceData[26]; /**< The service's, carried unchanged. */
} VeskVideoEncChrStatistics;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncChrStatistics, 104);

/**
 * Creates an encoder channel.
 *
 * @param encStmNo  Takes its stream number.
 * @return 1 also when @p encStmNo is null.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderCreate(uint32_t* encStmNo);

/** Deletes an encoder channel. @param encStmNo Stream number. */
VESK_VIDEO_API uint32_t VeskVideoEncoderDelete(uint32_t encStmNo);

/**
 * Sets an encoder's parameters.
 *
 * @param encStmNo  Stream number.
 * @param encParam  The parameters.
 * @return 2 also when @p encParam is null or its codcType is @ref VESK_VIDEO_ENC_SVC_SW.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderSetParam(uint32_t encStmNo, const VeskVideoEncParam* encParam);

/**
 * Names the queue that takes an encoder's output.
 *
 * @param encStmNo  Stream number.
 * @param queId     Queue identifier.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderSetQueHandle(uint32_t encStmNo, uint32_t queId);

/**
 * Reads an encoder's parameters.
 *
 * @param encStmNo  Stream number.
 * @param encParam  Takes the parameters.
 * @return 2 also when @p encParam is null.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderGetParam(uint32_t encStmNo, VeskVideoEncParam* encParam);

/** Starts an encoder. @param encStmNo Stream number. */
VESK_VIDEO_API uint32_t VeskVideoEncoderStart(uint32_t encStmNo);

/** Stops an encoder. @param encStmNo Stream number. */
VESK_VIDEO_API uint32_t VeskVideoEncoderStop(uint32_t encStmNo);

/**
 * Sets an encoder's forward error correction.
 *
 * @param encStmNo  Stream number.
 * @param fecParam  The parameters.
 * @return 2 also when @p fecParam is null.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderSetFecParam(uint32_t encStmNo, const VeskVideoEncFecParam* fecParam);

/**
 * Reads an encoder's status.
 *
 * @param encStmNo  Stream number.
 * @param status    Takes the status.
 * @return 2 also when @p status is null.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderGetStatus(uint32_t encStmNo, VeskVideoEncStatus* status);

/**
 * Reads the status of several encoders.
 *
 * @param num     Entries at @p status; the service must answer with exactly as many.
 * @param status  Array that is sent as it is and comes back filled.
 * @param len     Bytes at @p status.
 * @return 2 also when @p status is null, @p num is 0, or @p num entries do not fit into @p len or into a
 *         message.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderGetStatusInfos(uint32_t num, VeskVideoEncStatusInfo* status,
                                                       uint32_t len);

/**
 * Reads an encoder's statistics.
 *
 * @param encStmNo    Stream number.
 * @param statistics  Takes the statistics.
 * @return 2 also when @p statistics is null.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderGetChrStatistics(uint32_t encStmNo,
                                                         VeskVideoEncChrStatistics* statistics);

/** Asks an encoder for a key frame. @param encStmNo Stream number. */
VESK_VIDEO_API uint32_t VeskVideoEncoderForceKeyFrame(uint32_t encStmNo);

/**
 * Changes an encoder's frame rate.
 *
 * @param encStmNo   Stream number; its low 16 bits are sent.
 * @param frameRate  Frames per second.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderModifyFrameRate(uint32_t encStmNo, uint32_t frameRate);

/**
 * Sets an encoder's extended parameters.
 *
 * @param encStmNo  Stream number.
 * @param encParam  The parameters.
 * @return 2 also when @p encParam is null or a field is out of its range.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderSetParamEx(uint32_t encStmNo, const VeskVideoEncParamEx* encParam);

/**
 * Reads an encoder's extended parameters.
 *
 * @param encStmNo  Stream number.
 * @param encParam  Takes the parameters.
 * @return 2 also when @p encParam is null.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderGetParamEx(uint32_t encStmNo, VeskVideoEncParamEx* encParam);

VESK_VIDEO_END

#endif
