// Camera commands and presets.
#include "support/request_table.h"

static const VeskVideoPresetInfo preset{1, {}, 7};
static const std::string control =
    "T3 {%s start}\n|>T3 {%s msg[0]}\n|!T3 {%s msg[9]}\n|!L1 %s failed, inEngNo=4, ";

// clang-format off
static const Family cameras("vesk_video_interface", "invalid", [] { return Rows{
    ROW(CAMERA_CONTROL, 147, CamControl, 4, 22, In(12), 12).Sends({4, 22}, control + "cmdType=22 ret=9"),
    ROW(CAMERA_CONTROL, 147, CamControl, 1, 23, In(12), 12).Refused(2, "L1 wrong ctrl param[23]"),
    ROW(CAMERA_CONTROL, 147, CamControl, 4, -1, nullptr, 12)
        .Sends({4, 0xffffffff}, control + "cmdType=-1 ret=9"),
    ROW(CAMERA_CONTROL, 147, CamControl, 4, 16, Out(12), 12).Sends({4, 16}, control + "cmdType=16 ret=9"),
    ROW(SET_PRESET, 148, CamSetPreset, 65538, &preset).Sends({0, 0, 2}, "?1 presetInfo|"
        "L3 %s engNo[65538], presetId[7] isValid[1]!|T3 {%s }\n|!L1 Set preset result= 9|!T3 {%m msg[9]}\n"),
    ROW(GET_PRESET_COUNT, 149, CamGetPresetCount, Out).Sends({}, "T3 {%s start}\n|?1 count|>T3 {%s ret[0]}\n|"
        "!L1 [Send Msg Fail!] ret is Invalid![0x9][0x0]"),
    ROW(QUERY_PRESET, 150, CamQueryPreset, 3, Out(5), 5)
        .Sends({3, 5}, "T3 {%s start}\n|?1 presetInfo|>T3 {%s msg[0]}\n|!T3 {%s msg[9]}\n"),
    ROW(GET_BOUNDARY_STATE, 151, CamGetBoundaryState, 65538, Out)
        .Sends({0, 0, 2}, "?1 boundaryState|L3 Get boundary state, inEngNo[65538].|>|"
        "!L1 Get boundary state result= 9|!L1 [Send Msg Fail!] ret is Invalid![0x9][0x0]"),
}; });
// clang-format on
