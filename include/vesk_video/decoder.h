/**
 * @file
 * @copybrief decoders
 *
 * @copydetails decoders
 *
 * @defgroup decoders Decoders
 * Decoder channels: parameters, queue, jitter protection and status.
 *
 * A channel goes through these steps: create (which returns its stream number), configure, start, stop,
 * delete. It cannot start before VeskVideoDecoderSetParam.
 *
 * Threading, ownership and the common result codes: see common.h.
 * @{
 */
#ifndef VESK_VIDEO_DECODER_H
#define VESK_VIDEO_DECODER_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

enum {
    VESK_VIDEO_DEC_SVC_SW = 10 /**< The codec type that VeskVideoDecoderSetParam refuses. */
};

/** Parameters of a decoder. Types and units are service-defined. */
typedef struct VeskVideoDecParam {
    int32_t codecType;    /**< Codec type; not @ref VESK_VIDEO_DEC_SVC_SW. */
    uint32_t payloadType; /**< Payload type. */
    uint32_t w;           /**< Picture width. */
    uint32_t h;           /**< Picture height. */
    int32_t secType;      /**< Service-defined. */
    uint8_t serviceData[4];
    int32_t strmTyp;   /**< Stream type. */
    int32_t transType; /**< Service-defined. */
} VeskVideoDecParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDecParam, 32);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDecParam, secType, 16);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDecParam, strmTyp, 24);

/** Extended parameters of a decoder; opaque. */
typedef struct VeskVideoDecParamEx {
    uint32_t serviceData[2];
} VeskVideoDecParamEx;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDecParamEx, 8);

/** Status of one decoder; opaque. */
typedef struct VeskVideoDecStatus {
    uint32_t serviceData[7];
} VeskVideoDecStatus;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDecStatus, 28);

/** Status of one decoder in a list of several; opaque. */
typedef struct VeskVideoDecStatusInfo {
    uint32_t serviceData[8];
} VeskVideoDecStatusInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDecStatusInfo, 32);

/** Statistics of one decoder; opaque. */
typedef struct VeskVideoDecChrStatistics {
    uint32_t serviceData[28];
} VeskVideoDecChrStatistics;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDecChrStatistics, 112);

/**
 * Creates a decoder channel.
 *
 * @pre VeskVideoInit has been called.
 * @param decStmNo  Receives the stream number.
 * @retval VESK_VIDEO_ERR_FAILURE  @p decStmNo is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderCreate(uint32_t* decStmNo);

/**
 * Deletes a decoder channel.
 *
 * @pre VeskVideoDecoderCreate has created the channel.
 * @param decStmNo  Stream number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderDelete(uint32_t decStmNo);

/**
 * Sets a decoder's parameters.
 *
 * @pre VeskVideoDecoderCreate has created the channel.
 * @param decStmNo  Stream number.
 * @param decParam  The parameters.
 * @retval VESK_VIDEO_ERR_FAILURE   @p decParam is null.
 * @retval VESK_VIDEO_ERR_ARGUMENT  Its codecType is @ref VESK_VIDEO_DEC_SVC_SW.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderSetParam(uint32_t decStmNo, const VeskVideoDecParam* decParam);

/**
 * Sets a decoder's extended parameters.
 *
 * @pre VeskVideoDecoderCreate has created the channel.
 * @param decStmNo    Stream number.
 * @param decParamEx  The parameters.
 * @retval VESK_VIDEO_ERR_FAILURE  @p decParamEx is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderSetParamEx(uint32_t decStmNo, const VeskVideoDecParamEx* decParamEx);

/**
 * Sets the queue from which a decoder reads its input.
 *
 * @pre VeskVideoDecoderCreate has created the channel, and the queue exists.
 * @param decStmNo  Stream number.
 * @param queId     Queue identifier.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderSetQueHandle(uint32_t decStmNo, uint32_t queId);

/**
 * Gets a decoder's parameters.
 *
 * @pre VeskVideoDecoderCreate has created the channel.
 * @param decStmNo  Stream number.
 * @param decParam  Receives the parameters.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p decParam is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderGetParam(uint32_t decStmNo, VeskVideoDecParam* decParam);

/**
 * Starts a decoder.
 *
 * @pre VeskVideoDecoderSetParam has set the channel's parameters, and the channel is not started.
 * @param decStmNo  Stream number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderStart(uint32_t decStmNo);

/**
 * Stops a decoder.
 *
 * @pre VeskVideoDecoderStart has started the channel.
 * @param decStmNo  Stream number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderStop(uint32_t decStmNo);

/**
 * Gets a decoder's status.
 *
 * @pre VeskVideoDecoderCreate has created the channel.
 * @param decStmNo  Stream number.
 * @param status    Receives the status.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p status is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderGetStatus(uint32_t decStmNo, VeskVideoDecStatus* status);

/**
 * Gets the status of several decoders.
 *
 * @pre VeskVideoInit has been called.
 * @param num     Number of entries in @p status; the service must answer with exactly this many.
 * @param status  Array of @p num entries; sent as it is, and replaced by the answer.
 * @param len     Size of @p status in bytes.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p status is null, @p num is 0, or @p num entries do not fit into @p len
 *         or into a message.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderGetStatusInfos(uint32_t num, VeskVideoDecStatusInfo* status,
                                                       uint32_t len);

/**
 * Gets a decoder's statistics.
 *
 * @pre VeskVideoDecoderCreate has created the channel.
 * @param decStmNo    Stream number.
 * @param statistics  Receives the statistics.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p statistics is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderGetChrStatistics(uint32_t decStmNo,
                                                         VeskVideoDecChrStatistics* statistics);

/**
 * Sets a decoder's anti-jitter state.
 *
 * @pre VeskVideoDecoderCreate has created the channel.
 * @param decStmNo     Stream number.
 * @param enableState  State; service-defined.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderSetAntiJitter(uint32_t decStmNo, uint8_t enableState);

VESK_VIDEO_END

/** @} */

#endif
