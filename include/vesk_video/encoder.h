/**
 * @file
 * @copybrief encoders
 *
 * @copydetails encoders
 *
 * @defgroup encoders Encoders
 * Encoder channels: parameters, error correction, queue, key frames, frame rate and status.
 *
 * A channel goes through these steps: create (which returns its stream number), configure, start, stop,
 * delete. It cannot start before VeskVideoEncoderSetParam, and is asked for key frames while it runs.
 *
 * Threading, ownership and the common result codes: see common.h.
 * @{
 */
#ifndef VESK_VIDEO_ENCODER_H
#define VESK_VIDEO_ENCODER_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

enum {
    VESK_VIDEO_ENC_SVC_SW = 3 /**< The codec type that VeskVideoEncoderSetParam refuses. */
};

/** Parameters of an encoder. Types and units are service-defined. */
typedef struct VeskVideoEncParam {
    int32_t codcType; /**< Codec type; not @ref VESK_VIDEO_ENC_SVC_SW. */
    uint32_t pt;      /**< Payload type. */
    uint32_t w;       /**< Picture width. */
    uint32_t h;       /**< Picture height. */
    uint32_t fr;      /**< Frame rate. */
    uint32_t br;      /**< Bit rate. */
    int32_t secType;  /**< Service-defined. */
    uint8_t serviceData0[4];
    int32_t stmType; /**< Stream type. */
    int32_t effect;  /**< Service-defined. */
    uint8_t serviceData1[16];
    uint8_t isDtFmtCfg; /**< Service-defined. */
    uint8_t padding[7];
    uint64_t dtFmtCap; /**< Service-defined. */
} VeskVideoEncParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncParam, 72);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncParam, secType, 24);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncParam, stmType, 32);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncParam, isDtFmtCfg, 56);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncParam, dtFmtCap, 64);

/** Extended parameters of an encoder; service-defined within the ranges given. */
typedef struct VeskVideoEncParamEx {
    uint32_t exParam0; /**< 64 to 50000. */
    uint32_t exParam1; /**< 0 to 2. */
    uint32_t exParam2; /**< 0 to 4. */
    uint8_t exParam3;
    uint8_t exParam4;
    uint8_t exParam5;
    uint8_t padding;
    uint32_t exParam6; /**< 0 to 4. */
    uint8_t serviceData[4];
} VeskVideoEncParamEx;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncParamEx, 24);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncParamEx, exParam3, 12);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncParamEx, exParam6, 16);

/** Forward error correction parameters of an encoder. */
typedef struct VeskVideoEncFecParam {
    float lossRate;        /**< Loss rate; its unit is service-defined. */
    uint32_t constLostNum; /**< Service-defined. */
} VeskVideoEncFecParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncFecParam, 8);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoEncFecParam, constLostNum, 4);

/** Status of one encoder; opaque. */
typedef struct VeskVideoEncStatus {
    uint32_t serviceData[7];
} VeskVideoEncStatus;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncStatus, 28);

/** Status of one encoder in a list of several; opaque. */
typedef struct VeskVideoEncStatusInfo {
    uint32_t serviceData[8];
} VeskVideoEncStatusInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncStatusInfo, 32);

/** Statistics of one encoder; opaque. */
typedef struct VeskVideoEncChrStatistics {
    uint32_t serviceData[26];
} VeskVideoEncChrStatistics;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEncChrStatistics, 104);

/**
 * Creates an encoder channel.
 *
 * @pre VeskVideoInit has been called.
 * @param encStmNo  Receives the stream number.
 * @retval VESK_VIDEO_ERR_FAILURE  @p encStmNo is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderCreate(uint32_t* encStmNo);

/**
 * Deletes an encoder channel.
 *
 * @pre VeskVideoEncoderCreate has created the channel.
 * @param encStmNo  Stream number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderDelete(uint32_t encStmNo);

/**
 * Sets an encoder's parameters.
 *
 * @pre VeskVideoEncoderCreate has created the channel.
 * @param encStmNo  Stream number.
 * @param encParam  The parameters.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p encParam is null or its codcType is @ref VESK_VIDEO_ENC_SVC_SW.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderSetParam(uint32_t encStmNo, const VeskVideoEncParam* encParam);

/**
 * Sets the queue to which an encoder writes its output.
 *
 * @pre VeskVideoEncoderCreate has created the channel, and the queue exists.
 * @param encStmNo  Stream number.
 * @param queId     Queue identifier.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderSetQueHandle(uint32_t encStmNo, uint32_t queId);

/**
 * Gets an encoder's parameters.
 *
 * @pre VeskVideoEncoderCreate has created the channel.
 * @param encStmNo  Stream number.
 * @param encParam  Receives the parameters.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p encParam is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderGetParam(uint32_t encStmNo, VeskVideoEncParam* encParam);

/**
 * Starts an encoder.
 *
 * @pre VeskVideoEncoderSetParam has set the channel's parameters, and the channel is not started.
 * @param encStmNo  Stream number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderStart(uint32_t encStmNo);

/**
 * Stops an encoder.
 *
 * @pre VeskVideoEncoderStart has started the channel.
 * @param encStmNo  Stream number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderStop(uint32_t encStmNo);

/**
 * Sets an encoder's forward error correction parameters.
 *
 * @pre VeskVideoEncoderCreate has created the channel.
 * @param encStmNo  Stream number.
 * @param fecParam  The parameters.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p fecParam is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderSetFecParam(uint32_t encStmNo, const VeskVideoEncFecParam* fecParam);

/**
 * Gets an encoder's status.
 *
 * @pre VeskVideoEncoderCreate has created the channel.
 * @param encStmNo  Stream number.
 * @param status    Receives the status.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p status is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderGetStatus(uint32_t encStmNo, VeskVideoEncStatus* status);

/**
 * Gets the status of several encoders.
 *
 * @pre VeskVideoInit has been called.
 * @param num     Number of entries in @p status; the service must answer with exactly this many.
 * @param status  Array of @p num entries; sent as it is, and replaced by the answer.
 * @param len     Size of @p status in bytes.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p status is null, @p num is 0, or @p num entries do not fit into @p len
 *         or into a message.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderGetStatusInfos(uint32_t num, VeskVideoEncStatusInfo* status,
                                                       uint32_t len);

/**
 * Gets an encoder's statistics.
 *
 * @pre VeskVideoEncoderCreate has created the channel.
 * @param encStmNo    Stream number.
 * @param statistics  Receives the statistics.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p statistics is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderGetChrStatistics(uint32_t encStmNo,
                                                         VeskVideoEncChrStatistics* statistics);

/**
 * Requests a key frame from an encoder.
 *
 * @pre VeskVideoEncoderStart has started the channel.
 * @param encStmNo  Stream number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderForceKeyFrame(uint32_t encStmNo);

/**
 * Changes an encoder's frame rate.
 *
 * @pre VeskVideoEncoderSetParam has set the channel's parameters.
 * @param encStmNo   Stream number; its low 16 bits are sent.
 * @param frameRate  Frames per second.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderModifyFrameRate(uint32_t encStmNo, uint32_t frameRate);

/**
 * Sets an encoder's extended parameters.
 *
 * @pre VeskVideoEncoderCreate has created the channel.
 * @param encStmNo  Stream number.
 * @param encParam  The parameters.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p encParam is null or a field is out of its range.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderSetParamEx(uint32_t encStmNo, const VeskVideoEncParamEx* encParam);

/**
 * Gets an encoder's extended parameters.
 *
 * @pre VeskVideoEncoderCreate has created the channel.
 * @param encStmNo  Stream number.
 * @param encParam  Receives the parameters.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p encParam is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEncoderGetParamEx(uint32_t encStmNo, VeskVideoEncParamEx* encParam);

VESK_VIDEO_END

/** @} */

#endif
