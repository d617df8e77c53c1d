/**
 * @file
 * Decoder channels. The life of a channel is kept by the service: create (which yields its stream number),
 * configure, start, stop, delete; the library sends whatever it is asked in whatever order. Threads,
 * ownership and the results that all requests share: see common.h.
 */
#ifndef VESK_VIDEO_DECODER_H
#define VESK_VIDEO_DECODER_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

enum {
    VESK_VIDEO_DEC_SVC_SW = 10 /**< The codec type that VeskVideoDecoderSetParam refuses. */
};

/** Parameters of a decoder; units, and the bytes named serviceData, are the service's. */
typedef struct VeskVideoDecParam {
    int32_t codecType;      /**< Codec type, not @ref VESK_VIDEO_DEC_SVC_SW. */
    uint32_t payloadType;   /**< Payload type. */
    uint32_t w;             /**< Picture width. */
    uint32_t h;             /**< Picture height. */
    int32_t secType;        /**< The service's. */
    uint8_t serviceData[4]; /**< The service's, carried unchanged. */
    int32_t strmTyp;        /**< Stream type. */
    int32_t transType;      /**< The service's. */
} VeskVideoDecParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDecParam, 32);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDecParam, secType, 16);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDecParam, strmTyp, 24);

/** Extended parameters of a decoder; their contents are the service's. */
typedef struct VeskVideoDecParamEx {
    uint32_t serviceData[2]; /**< The service's, carried unchanged. */
} VeskVideoDecParamEx;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDecParamEx, 8);

/** Status of one decoder; its contents are the service's. */
typedef struct VeskVideoDecStatus {
    uint32_t serviceData[7]; /**< The service's, carried unchanged. */
} VeskVideoDecStatus;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDecStatus, 28);

/** One entry of the status of all decoders; its contents are the service's. */
typedef struct VeskVideoDecStatusInfo {
    uint32_t serviceData[8]; /**< The service's, carried unchanged. */
} VeskVideoDecStatusInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDecStatusInfo, 32);

/** Statistics of one decoder; their contents are the service's. */
typedef struct VeskVideoDecChrStatistics {
    uint32_t serviceData[28]; /**< The service's, carried unchanged. */
} VeskVideoDecChrStatistics;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDecChrStatistics, 112);

/**
 * Creates a decoder channel.
 *
 * @param decStmNo  Takes its stream number.
 * @return 1 also when @p decStmNo is null.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderCreate(uint32_t* decStmNo);

/** Deletes a decoder channel. @param decStmNo Stream number. */
VESK_VIDEO_API uint32_t VeskVideoDecoderDelete(uint32_t decStmNo);

/**
 * Sets a decoder's parameters.
 *
 * @param decStmNo  Stream number.
 * @param decParam  The parameters.
 * @return 1 also when @p decParam is null; 2 also when its codecType is @ref VESK_VIDEO_DEC_SVC_SW.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderSetParam(uint32_t decStmNo, const VeskVideoDecParam* decParam);

/**
 * Sets a decoder's extended parameters.
 *
 * @param decStmNo    Stream number.
 * @param decParamEx  The parameters.
 * @return 1 also when @p decParamEx is null.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderSetParamEx(uint32_t decStmNo, const VeskVideoDecParamEx* decParamEx);

/**
 * Names the queue from which a decoder takes its input.
 *
 * @param decStmNo  Stream number.
 * @param queId     Queue identifier.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderSetQueHandle(uint32_t decStmNo, uint32_t queId);

/**
 * Reads a decoder's parameters.
 *
 * @param decStmNo  Stream number.
 * @param decParam  Takes the parameters.
 * @return 2 also when @p decParam is null.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderGetParam(uint32_t decStmNo, VeskVideoDecParam* decParam);

/** Starts a decoder. @param decStmNo Stream number. */
VESK_VIDEO_API uint32_t VeskVideoDecoderStart(uint32_t decStmNo);

/** Stops a decoder. @param decStmNo Stream number. */
VESK_VIDEO_API uint32_t VeskVideoDecoderStop(uint32_t decStmNo);

/**
 * Reads a decoder's status.
 *
 * @param decStmNo  Stream number.
 * @param status    Takes the status.
 * @return 2 also when @p status is null.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderGetStatus(uint32_t decStmNo, VeskVideoDecStatus* status);

/**
 * Reads the status of several decoders.
 *
 * @param num     Entries at @p status; the service must answer with exactly as many.
 * @param status  Array that is sent as it is and comes back filled.
 * @param len     Bytes at @p status.
 * @return 2 also when @p status is null, @p num is 0, or @p num entries do not fit into @p len or into a
 *         message.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderGetStatusInfos(uint32_t num, VeskVideoDecStatusInfo* status,
                                                       uint32_t len);

/**
 * Reads a decoder's statistics.
 *
 * @param decStmNo    Stream number.
 * @param statistics  Takes the statistics.
 * @return 2 also when @p statistics is null.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderGetChrStatistics(uint32_t decStmNo,
                                                         VeskVideoDecChrStatistics* statistics);

/**
 * Sets a decoder's anti-jitter state.
 *
 * @param decStmNo     Stream number.
 * @param enableState  The state; its values are the service's.
 */
VESK_VIDEO_API uint32_t VeskVideoDecoderSetAntiJitter(uint32_t decStmNo, uint8_t enableState);

VESK_VIDEO_END

#endif
