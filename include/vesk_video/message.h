/**
 * @file
 * @copybrief transport
 *
 * @copydetails transport
 *
 * @defgroup transport Transport
 * The message header, the three send functions that carry every request, and the names used for routing.
 * @{
 */
#ifndef VESK_VIDEO_MESSAGE_H
#define VESK_VIDEO_MESSAGE_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** A message of the platform's message library, which defines its layout. */
typedef struct OsMsgEnvelope OsMsgEnvelope;

/** Header of every request, answer and notification; the payload follows it. */
typedef struct VeskVideoMsgHead {
    uint32_t ulReserved; /**< 0 in requests; ignored in answers and notifications. */
    uint16_t msgId;      /**< Message number. */
    uint16_t uwSubMsgID; /**< Request: a 16-bit argument. Answer: the result code. */
    uint64_t ulParam1;   /**< 64-bit argument. */
    uint32_t ulParam2;   /**< 32-bit argument. */
    uint32_t padding;
} VeskVideoMsgHead;
VESK_VIDEO_ASSERT_SIZE(VeskVideoMsgHead, 24);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoMsgHead, msgId, 4);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoMsgHead, uwSubMsgID, 6);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoMsgHead, ulParam1, 8);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoMsgHead, ulParam2, 16);

enum {
    VESK_VIDEO_NAME_SIZE = 16,             /**< Size of a NUL-padded process or task name. */
    VESK_VIDEO_MAX_MESSAGE_SIZE = 4194304, /**< Maximum size of a request: header and payload. */
    VESK_VIDEO_SYNC_TIMEOUT = 5000         /**< Timeout of a synchronous request in milliseconds. */
};

/**
 * Process name of the video service, "VIDEO" by default.
 *
 * The application may overwrite it. All 16 bytes are copied into every request unchecked, and the library
 * does not synchronise access: do not overwrite it while another thread sends.
 */
extern VESK_VIDEO_API char NORTH_RECV_PROC_NAME[VESK_VIDEO_NAME_SIZE];

/** Name of the service's receiving task, "VCTL" by default; see @ref NORTH_RECV_PROC_NAME. */
extern VESK_VIDEO_API char NORTH_RECV_TASK_NAME[VESK_VIDEO_NAME_SIZE];

/**
 * Gets the name of this process: the sender's process name in every request.
 *
 * @return NUL-terminated text owned by the library and valid until the next VeskVideoInit. It is empty
 *         before the first VeskVideoInit, and never null.
 */
VESK_VIDEO_API const char* VeskVideoGetServiceName(void);

/**
 * Sends a header without payload and does not wait for an answer.
 *
 * @param head  Header to send; must not be null.
 * @retval VESK_VIDEO_OK           The message was handed over to the platform.
 * @retval VESK_VIDEO_ERR_FAILURE  The message could not be addressed or allocated.
 * @return Otherwise the error code of the platform's OsMsgAsynSend.
 */
VESK_VIDEO_API uint32_t VeskVideoSendAsyncMsg(const VeskVideoMsgHead* head);

/**
 * Sends a request and waits for an answer that consists of a result code only.
 *
 * @param head        Header to send; must not be null.
 * @param payload     Payload that follows the header, or null for none.
 * @param payloadLen  Size of @p payload in bytes; ignored if @p payload is null.
 * @retval VESK_VIDEO_OK            The service accepted the request.
 * @retval VESK_VIDEO_ERR_FAILURE   The exchange failed, or the answer is not exactly one header.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p payload is not null, and @p payloadLen is 0 or makes the message
 *         longer than @ref VESK_VIDEO_MAX_MESSAGE_SIZE.
 * @return Otherwise the service's result code.
 */
VESK_VIDEO_API uint32_t VeskVideoSendSyncMsgWithoutResponse(const VeskVideoMsgHead* head, const void* payload,
                                                            uint32_t payloadLen);

/**
 * Sends a request and waits for an answer that carries a payload.
 *
 * @param head        Header to send; must not be null.
 * @param payload     Payload that follows the header, or null for none.
 * @param payloadLen  Size of @p payload in bytes; 0 if @p payload is null.
 * @param rspBuf      Receives the payload of the answer; written only if the result is 0. It may be the
 *                    same buffer as @p payload.
 * @param rspBufLen   Size of @p rspBuf in bytes; the payload of the answer must have exactly this size.
 * @retval VESK_VIDEO_OK            The service accepted the request, and @p rspBuf is filled.
 * @retval VESK_VIDEO_ERR_FAILURE   The exchange failed, or the answer has a different length.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p rspBuf is null or @p rspBufLen is 0; the message would be longer than
 *         @ref VESK_VIDEO_MAX_MESSAGE_SIZE; or @p payload is null and @p payloadLen is not 0.
 * @return Otherwise the service's result code.
 */
VESK_VIDEO_API uint32_t VeskVideoSendSyncMsg(const VeskVideoMsgHead* head, const void* payload,
                                             uint32_t payloadLen, void* rspBuf, uint32_t rspBufLen);

VESK_VIDEO_END

/** @} */

#endif
