// Decoder channels.
#include "support/request_table.h"

static const VeskVideoDecParam param{9, 96, 1920, 1080, -1, {9, 9, 9, 9}, -2, -3};
static const VeskVideoDecParam svc{10, 96, 1920, 1080, -1, {9, 9, 9, 9}, -2, -3};

// clang-format off
static const Family decoders("vesk_video_interface_codec", "function", [] { return Rows{
    ROW(DEC_CREATE, 40, DecoderCreate, Out)
        .Sends({}, "start|L3 %s enter.|?1 decStmNo|>T3 {%m msg[0] no[77]}\n"),
    ROW(DEC_DELETE, 41, DecoderDelete, 4).Sends({4}, "start|L3 %s: decStmNo=4."),
    ROW(SET_DEC_PARAM, 42, DecoderSetParam, 4, &param).Sends({4}, "T3 {%m }\n|?1 decParam|"
        "L3 %s stmNo=4, payloadType=96, w=1920, h=1080, strmTyp=-2, codecType=9, secType=-1, transType=-3"),
    ROW(SET_DEC_PARAM, 42, DecoderSetParam, 4, &svc)
        .Refused(2, "T3 {%m }\n|L3 %s stmNo=4, payloadType=96, w=1920, h=1080, strmTyp=-2, codecType=10, "
        "secType=-1, transType=-3|B1 %s: Do not support VESK_VIDEO_DEC_SVC_SW type"),
    ROW(SET_DEC_PARAMEX, 43, DecoderSetParamEx, 4, In).Sends({4}, "start|?1 decParamEx|L3 %s: decStmNo=4."),
    ROW(SET_DEC_QUE_HANDLE, 44, DecoderSetQueHandle, 4, 5).Sends({4, 5}, "start|L3 %s: decStmNo=4 queId=5."),
    ROW(GET_DEC_PARAM, 45, DecoderGetParam, 4, Out).Sends({4}, "T3 {%m start 4 }\n|?2 decParam"),
    ROW(DEC_START, 46, DecoderStart, 4).Sends({4}, "start|L3 %s: decStmNo=4."),
    ROW(DEC_STOP, 47, DecoderStop, 4).Sends({4}, "start|L3 %s: decStmNo=4."),
    ROW(DECODER_GET_STATUS, 93, DecoderGetStatus, 4, Out).Sends({4}, "T3 {%m start 4 }|?2 status|>unended"),
    ROW(DECODER_GET_ALL_STATUS, 94, DecoderGetStatusInfos, 2, InOut(2), 64)
        .Sends({2}, "T3 {%m start 2 64 }|?2 status|>unended"),
    ROW(DECODER_GET_ALL_STATUS, 94, DecoderGetStatusInfos, 2, InOut(131072), 63)
        .Refused(2, "T3 {%m start 2 63 }|B1 %s:decParam len error"),
    ROW(DECODER_GET_ALL_STATUS, 94, DecoderGetStatusInfos, 131072, InOut(131072), 4194304)
        .Refused(2, "T3 {%m start 131072 4194304 }|function"),
    ROW(DECODER_GET_CHR_STATISTICS, 95, DecoderGetChrStatistics, 4, Out)
        .Sends({4}, "T3 {%m start 4 }|?2 statistics|>unended"),
    ROW(SET_DEC_MOVE_STATE, 103, DecoderSetAntiJitter, 4, 255)
        .Sends({4, 255}, "start|L3 %s: decStmNo=4 enableState=255."),
}; });
// clang-format on
