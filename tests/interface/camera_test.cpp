// Camera commands and presets.
#include "support/request_table.h"

using namespace request_table;

static const Family cameras("vesk_video_interface", FailureForm::kSendInvalid, [] {
    static char data[12] = "eleven char";
    static const VeskVideoPresetInfo preset{1, {}, 7};
    const auto control = [](Row row, const std::string& values) {
        return std::move(row)
            .Bare()
            .Traces("#####send %s start#####\n")
            .End("#####send %s msg[0]#####\n")
            .Fails({"T3 #####send %s msg[9]#####\n", "L1 %s failed, inEngNo=4, " + values + " ret=9"});
    };
    // clang-format off
    return Rows{
        control(ROW(VESK_VIDEO_MSG_CAMERA_CONTROL, 147, VeskVideoCamControl, 4, 22, data, 12).Head(4, 22)
            .Payload(Text("eleven char")).Bare()
            .Refuses(2, {"L1 wrong ctrl param[23]"}, CALL(VeskVideoCamControl, 1, 23, data, 12)),
                "cmdType=22"),
        control(ROW(VESK_VIDEO_MSG_CAMERA_CONTROL, 147, VeskVideoCamControl, 4, -1, nullptr, 12)
            .Head(4, 0xffffffff), "cmdType=-1"),
        control(ROW(VESK_VIDEO_MSG_CAMERA_CONTROL, 147, VeskVideoCamControl, 4, 16, data, 12).Head(4, 16)
            .Answer(Bytes(12)), "cmdType=16"),
        ROW(VESK_VIDEO_MSG_SET_PRESET, 148, VeskVideoCamSetPreset, 65538, &preset).Head(0, 0, 2).Bare()
            .Null("presetInfo").Says("%s engNo[65538], presetId[7] isValid[1]!")
            .Traces("#####send %s #####\n")
            .Fails({"L1 Set preset result= 9", "T3 #####send %m msg[9]#####\n"}),
        ROW(VESK_VIDEO_MSG_GET_PRESET_COUNT, 149, VeskVideoCamGetPresetCount, Out()).Bare()
            .Traces("#####send %s start#####\n").Null("count").End("#####send %s ret[0]#####\n")
            .Fails({"L1 [Send Msg Fail!] ret is Invalid![0x9][0x0]"}),
        ROW(VESK_VIDEO_MSG_QUERY_PRESET, 150, VeskVideoCamQueryPreset, 3, Out{5}, 5).Head(3, 5).Bare()
            .Traces("#####send %s start#####\n").Null("presetInfo").End("#####send %s msg[0]#####\n")
            .Fails({"T3 #####send %s msg[9]#####\n"}),
        ROW(VESK_VIDEO_MSG_GET_BOUNDARY_STATE, 151, VeskVideoCamGetBoundaryState, 65538, Out()).Head(0, 0, 2)
            .Bare().Null("boundaryState").Says("Get boundary state, inEngNo[65538].").Ends({})
            .Fails({"L1 Get boundary state result= 9", "L1 [Send Msg Fail!] ret is Invalid![0x9][0x0]"}),
    };
    // clang-format on
});
