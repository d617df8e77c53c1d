/**
 * @file
 * The message header, the three sends that carry every request, and the routing names.
 */
#ifndef VESK_VIDEO_MESSAGE_H
#define VESK_VIDEO_MESSAGE_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** A message of the platform's message library; its layout stands in the platform's own header. */
typedef struct OsMsgEnvelope OsMsgEnvelope;

/** The first 24 bytes of every request, answer and notification; the payload follows it. */
typedef struct VeskVideoMsgHead {
    uint32_t ulReserved; /**< 0 in requests, never read in answers and notifications. */
    uint16_t msgId;      /**< Message number. */
    uint16_t uwSubMsgID; /**< Request: sub-operation or a number's low 16 bits. Answer: result code. */
    uint64_t ulParam1;   /**< First scalar argument. */
    uint32_t ulParam2;   /**< Second scalar argument. */
    uint32_t padding;    /**< Not interpreted by either side. */
} VeskVideoMsgHead;
VESK_VIDEO_ASSERT_SIZE(VeskVideoMsgHead, 24);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoMsgHead, msgId, 4);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoMsgHead, uwSubMsgID, 6);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoMsgHead, ulParam1, 8);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoMsgHead, ulParam2, 16);

enum {
    VESK_VIDEO_NAME_SIZE = 16,             /**< Bytes of a process or task name field, NUL-padded. */
    VESK_VIDEO_MAX_MESSAGE_SIZE = 4194304, /**< Bytes of header and payload of a request at most. */
    VESK_VIDEO_SYNC_TIMEOUT = 5000         /**< Time-out of a synchronous request, in milliseconds. */
};

/**
 * Process name of the video service, "VIDEO" unless the application overwrites it. All 16 bytes are
 * copied into every request as they stand, without a check; overwriting them while another thread
 * sends is not guarded.
 */
extern VESK_VIDEO_API char NORTH_RECV_PROC_NAME[VESK_VIDEO_NAME_SIZE];

/** Name of its receiving task, "VCTL" unless overwritten; as @ref NORTH_RECV_PROC_NAME. */
extern VESK_VIDEO_API char NORTH_RECV_TASK_NAME[VESK_VIDEO_NAME_SIZE];

/**
 * The library's own service name: the sender's process name of every request.
 *
 * @return NUL-terminated text owned by the library, never null; empty before VeskVideoInit. Valid
 *         until the next VeskVideoInit.
 */
VESK_VIDEO_API const char* VeskVideoGetServiceName(void);

/**
 * Sends a bare header and does not wait for an answer.
 *
 * @param head  Header to send; not null.
 * @return What the platform's OsMsgAsynSend returned (0: handed over), or 1 when the message could
 *         not be addressed or allocated.
 */
VESK_VIDEO_API uint32_t VeskVideoSendAsyncMsg(const VeskVideoMsgHead* head);

/**
 * Sends a request whose answer is a result code alone.
 *
 * @param head        Header to send; not null.
 * @param payload     Bytes behind the header, or null for none.
 * @param payloadLen  Bytes at @p payload; not read when @p payload is null.
 * @return 0; 1 when the exchange failed or the answer is not a bare header; 2 when @p payload is
 *         not null and @p payloadLen is 0 or makes the message longer than
 *         @ref VESK_VIDEO_MAX_MESSAGE_SIZE; else the service's code.
 */
VESK_VIDEO_API uint32_t VeskVideoSendSyncMsgWithoutResponse(const VeskVideoMsgHead* head, const void* payload,
                                                            uint32_t payloadLen);

/**
 * Sends a request whose answer carries a record.
 *
 * @param head        Header to send; not null.
 * @param payload     Bytes behind the header, or null for none.
 * @param payloadLen  Bytes at @p payload; 0 when @p payload is null.
 * @param rspBuf      Takes the answer's payload when the result is 0; may be @p payload itself.
 * @param rspBufLen   Exact length in bytes of the answer's payload.
 * @return 0; 1 when the exchange failed or the answer has another length; 2 when @p rspBuf is null,
 *         @p rspBufLen is 0, the message is longer than @ref VESK_VIDEO_MAX_MESSAGE_SIZE, or
 *         @p payload is null with a nonzero @p payloadLen; else the service's code.
 */
VESK_VIDEO_API uint32_t VeskVideoSendSyncMsg(const VeskVideoMsgHead* head, const void* payload,
                                             uint32_t payloadLen, void* rspBuf, uint32_t rspBufLen);

VESK_VIDEO_END

#endif
