// Decoder channels.
#include "support/request_table.h"

using namespace request_table;

static const Family decoders("vesk_video_interface_codec", FailureForm::kFunction, [] {
    static const VeskVideoDecParam param{9, 96, 1920, 1080, -1, {9, 9, 9, 9}, -2, -3};
    static const VeskVideoDecParam svc{10, 96, 1920, 1080, -1, {9, 9, 9, 9}, -2, -3};
    static std::vector<VeskVideoDecStatusInfo> infos(131072);
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_DEC_CREATE, 40, VeskVideoDecoderCreate, Out()).Says("%s enter.").Null("decStmNo")
            .End("#####send %m msg[0] no[77]#####\n"),
        ROW(VESK_VIDEO_MSG_DEC_DELETE, 41, VeskVideoDecoderDelete, 4).Head(4).Says("%s: decStmNo=4."),
        ROW(VESK_VIDEO_MSG_SET_DEC_PARAM, 42, VeskVideoDecoderSetParam, 4, &param).Head(4).Bare()
            .Traces("#####send %m #####\n").Null("decParam")
            .Refuses(2, {"L3 %s stmNo=4, payloadType=96, w=1920, h=1080, strmTyp=-2, codecType=10, "
                "secType=-1, transType=-3", "T1 %s: Do not support VESK_VIDEO_DEC_SVC_SW type",
                    "L1 %s: Do not support VESK_VIDEO_DEC_SVC_SW type"}, CALL(VeskVideoDecoderSetParam, 4,
                        &svc))
            .Says("%s stmNo=4, payloadType=96, w=1920, h=1080, strmTyp=-2, codecType=9, secType=-1, "
                "transType=-3"),
        ROW(VESK_VIDEO_MSG_SET_DEC_PARAMEX, 43, VeskVideoDecoderSetParamEx, 4, In()).Head(4)
            .Null("decParamEx").Says("%s: decStmNo=4."),
        ROW(VESK_VIDEO_MSG_SET_DEC_QUE_HANDLE, 44, VeskVideoDecoderSetQueHandle, 4, 5).Head(4, 5)
            .Says("%s: decStmNo=4 queId=5."),
        ROW(VESK_VIDEO_MSG_GET_DEC_PARAM, 45, VeskVideoDecoderGetParam, 4, Out()).Head(4).Bare()
            .Traces("#####send %m start 4 #####\n").Null("decParam", 2),
        ROW(VESK_VIDEO_MSG_DEC_START, 46, VeskVideoDecoderStart, 4).Head(4).Says("%s: decStmNo=4."),
        ROW(VESK_VIDEO_MSG_DEC_STOP, 47, VeskVideoDecoderStop, 4).Head(4).Says("%s: decStmNo=4."),
        ROW(VESK_VIDEO_MSG_DECODER_GET_STATUS, 93, VeskVideoDecoderGetStatus, 4, Out()).Head(4).Bare()
            .Traces("#####send %m start 4 #####").Null("status", 2).Unended(),
        ROW(VESK_VIDEO_MSG_DECODER_GET_ALL_STATUS, 94, VeskVideoDecoderGetStatusInfos, 2, InOut{2}, 64)
            .Head(2).Bare()
            .Refuses(2, {"T3 #####send %m start 2 63 #####", "T1 %s:decParam len error",
                "L1 %s:decParam len error"}, CALL(VeskVideoDecoderGetStatusInfos, 2, infos.data(), 63))
            .Refuses(2, {"T3 #####send %m start 131072 4194304 #####", "T1 %s failed[2].",
                "L1 %s failed[2]."}, CALL(VeskVideoDecoderGetStatusInfos, 131072, infos.data(), 4194304))
            .Traces("#####send %m start 2 64 #####").Null("status", 2).Unended(),
        ROW(VESK_VIDEO_MSG_DECODER_GET_CHR_STATISTICS, 95, VeskVideoDecoderGetChrStatistics, 4, Out())
            .Head(4).Bare().Traces("#####send %m start 4 #####").Null("statistics", 2).Unended(),
        ROW(VESK_VIDEO_MSG_SET_DEC_MOVE_STATE, 103, VeskVideoDecoderSetAntiJitter, 4, 255).Head(4, 255)
            .Says("%s: decStmNo=4 enableState=255."),
    };
    // clang-format on
});
