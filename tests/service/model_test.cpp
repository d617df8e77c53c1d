// The virtual service's model, family by family: what it keeps, notifies and refuses, and how much it
// carries.
#include "decoder/identity.h"
#include "service/service.h"
#include "service/service_fixture.h"
#include "service/uvc.h"
#include "service/watchers.h"
#include "vesk_host/queue.h"
#include "vesk_video/message_list.h"

#include <bit>
#include <thread>

using namespace vesk::messages;
using vesk::decoder::IdentityOf;

namespace {

/// Something that applications create, up to a number, and name from then on: # is which of them, % its
/// number.
struct Thing {
    uint32_t most;
    const char *create, *prepare, *start, *stop, *remove;
    uint32_t first;
    const char* full = "!ROOM";
    bool isNumberedOn = true; ///< Every one gets a number that was not used before.
};

const Thing kThings[] = {
    {3, "OPEN_VI_PORT #", "", "VI_START %", "VI_STOP %", "CLOSE_VI_PORT %", 1001, "!NUMBER"},
    {2, "OPEN_VO_PORT #", "", "VO_START %", "VO_STOP %", "VO_CLOSE %", 2001, "!NUMBER"},
    {16, "ENC_CREATE", "SET_ENC_PARAM % w=16 h=16 fr=60", "ENC_START %", "ENC_STOP %", "ENC_DELETE %", 3001},
    {16, "DEC_CREATE", "SET_DEC_PARAM % w=3840 h=2160", "DEC_START %", "DEC_STOP %", "DEC_DELETE %", 4001},
    {4, "OPEN_MOUSE_PORT 1", "MOUSE_CONNECT % 4002", "MOUSE_START %", "MOUSE_STOP %", "CLOSE_MOUSE_PORT %",
     6001},
    {4, "OPEN_LOCAL_MOUSE", "", "START_LOCAL_MOUSE %", "STOP_LOCAL_MOUSE %", "CLOSE_LOCAL_MOUSE %", 7001},
    {8, "INIT_UVC; OPEN_UVC_PORT", "SET_UVC_PARAM %", "START_UVC_STREAM %", "STOP_UVC_STREAM %",
     "CLOSE_UVC_PORT %", 0, "!ROOM", false},
    {8, "CREATE_OVERLAY_CHANNEL_PARAM 1 %", "SET_OVERLAY_PARAM %", "ENABLE_OVERLAY_PARAM % 1", "",
     "DESTROY_OVERLAY_PARAM %", 1, "!ROOM", false},
};

void Create(const Thing& thing, uint32_t nth, uint32_t round, const std::string& outcome)
{
    Play(thing.create + outcome, nth, thing.first + nth + (thing.isNumberedOn ? round * thing.most : 0));
}

/// Creates as many of everything as there can be, as the service's round-th application that does so.
void FillAll(uint32_t round)
{
    for (const Thing& thing : kThings) {
        for (uint32_t i = 0; i < thing.most; ++i)
            Create(thing, i, round, thing.isNumberedOn || round < 2 ? " = %" : "");
    }
    const std::string encoder = std::to_string(3002 + round * 16),
                      decoder = std::to_string(4002 + round * 16);
    for (uint32_t i = 1; i <= 16; ++i)
        Play("SET_LOOP_MODE encNo=" + encoder + " decNo=" + decoder + " mode=1 = %", 0,
             5000 + round * 16 + i);
}

/// A number of each kind that there is once all has been filled.
const std::map<std::string_view, uint32_t> kNumbers = {
    {"inEngNo", 1001}, {"outEngNo", 2001},   {"encStmNo", 3001},        {"decStmNo", 4001},
    {"loop", 5001},    {"mouseStmNo", 6001}, {"localMouseStmNo", 7001}, {"uvcStmNo", 1}};

/// One for an argument, or 0.
uint32_t NumberFor(const Argument& argument)
{
    const std::string_view identity = IdentityOf(argument.Name());
    const auto known = kNumbers.find(identity == vesk::decoder::kEngine ? "outEngNo" : identity);
    return known != kNumbers.end() ? known->second : 0;
}

} // namespace

FORKED_TEST(VideoService, EveryPortIsAnnouncedAfterInit)
{
    EXPECT_EQ(Seen(), "100 101 100 101 102 103 102 102 103 ");
    Play(R"(ON VO_PORT_PLUG_STATE val=1; ON VO_PORT_DDC_INFO Width=3840 height=2160 fr=60
            ON VO_PORT_PLUG_STATE port=1 val=1; ON VO_PORT_DDC_INFO port=1 Width=1920 height=1080 fr=60
            ON VI_PORT_PLUG_STATE val=1; ON VI_PORT_PIXEL_INFO portType=1 Width=3840 height=2160 fr=30
            ON VI_PORT_PLUG_STATE port=1; ON VI_PORT_PLUG_STATE port=2 val=1
            ON VI_PORT_PIXEL_INFO port=2 stmNo=1 portType=16 Width=1920 height=1080 fr=25)");
}

FORKED_TEST(VideoService, PortsAreDescribedFieldByField)
{
    const uint32_t queue = Number(VeskVideoBuffCreateQueue);
    Play(R"(GET_VI_COUNT = 3; OPEN_VI_PORT 2 = 1001; OPEN_VI_PORT 0 = 1002
            GET_VI_PORT 1 = [0]: portType=1 plugged=1 enabled=1 inEngNo=1002 width=3840 height=2160 fr=30 name=CAMERA
            SET_VI_CONNECT 1002 1; SET_VI_CONNECT 1002 2; SET_VI_CONNECT 1002 2 !STATE; ENCODER_FREEZE 1002 5 data=123456789abc
            SET_CAMERA_QUEUE_ID 1002 #; VI_SET_EPTZ_MOVE_SPEED 1002 -5; SET_VIO_CALLBACK 1002 serviceData=32
            SET_APP_CAPTURE_PARAM 1002 taskHandle=0x1e00000028; SET_VI_CONNECT 1001 9; SET_VIO_CALLBACK 1001 serviceData=3c
            ENCODER_FREEZE 1001 1 data=
            GET_VI_PORT 1 = .. [0]: streams=2 frozen=5 frozenLength=6 faceQueue=# eptzMoveSpeed=-5
                appTaskHandle=40,30 vioCallback=50
            GET_VI_PORT 3 = .. [1]: port=1 portType=2 enabled=1 name=PC-IN [2]: port=2 portType=16 plugged=1 enabled=1
                inEngNo=1001 streams=1 frozen=1 width=1920 height=1080 fr=25 vioCallback=60 name=NET-CAMERA
            VI_START 1002; SET_VI_DISCONNECT 1002 1; SET_VI_DISCONNECT 1002 1 !STATE
            GET_VI_PORT 3 = .. [0]: started=1 streams=1
            VI_MODIFY_INPUT 1002 9; SET_VI_DISCONNECT 1002 2 !STATE; SET_VI_DISCONNECT 1002 9; VI_MODIFY_INPUT 1002 9 !STATE
            VI_START 1001; VI_DISABLE 0; VI_START 1002 !DISABLED; VI_STOP 1001
            GET_VI_PORT 3 = .. [0]: started=0 streams=0 enabled=0
            CLOSE_VI_PORT 1002; OPEN_VI_PORT 0 !DISABLED; VI_ENABLE 0
            GET_VI_PORT 1 = [0]: portType=1 plugged=1 enabled=1 width=3840 height=2160 fr=30 name=CAMERA
            OPEN_VI_PORT 1 = 1003; VI_START 1003 !UNPLUGGED; OPEN_VI_PORT 1 !BUSY; GET_VI_PORT 0 !VALUE; GET_VI_PORT 4 !VALUE)",
         queue);
    Play(
        R"(GET_VO_COUNT = 2; OPEN_VO_PORT 1 = 2001; OPEN_VO_PORT 0 = 2002; OPEN_VO_PORT 0 !BUSY; DEC_CREATE = 4001
            GET_VO_PORT 2 = [0]: plugged=1 enabled=1 outEngNo=2002 width=3840 height=2160 fr=60 name=HDMI-OUT-1
                [1]: port=1 plugged=1 enabled=1 outEngNo=2001 width=1920 height=1080 fr=60 name=HDMI-OUT-2
            SET_SCREEN_OFFSET 2002 xOffset=-10 yOffset=20; SET_VO_QUE_HANDLE 2002 #; SET_DISPLAY_MODE displayMode=2 fps=24
            SET_VIO_CALLBACK 2002 serviceData=46; SET_VIO_CALLBACK 2003 !NUMBER
            SET_SR_ENABLE 5; SET_DEFAULT_IMAGE 0 0
                text=/image/that/is/at/a/place/which/is/very/long/so/long/that/it/ends/here/and/goes/on
            SET_VO_SRC 2002 picNum=3 subPic[0]: inputId=1001 winHandle=7 subPic[1]: decFlag=1 inputId=4001 winHandle=8
                subPic[2]: inputId=1001 winHandle=7
            SET_SCREEN_OFFSET 2001 xOffset=5 yOffset=6; VO_START 2002
            SET_FILTER_WINDOW 7 3 [0]: x=1 [1]: width=2 [2]: x=3
            DELETE_FILTER_WINDOW 8 1 [0]: x=1 !NUMBER
            GET_VO_PORT 1 = [0]: plugged=1 enabled=1 outEngNo=2002 started=1 xOffset=-10 yOffset=20 queHandle=# width=3840
                height=2160 fr=60 pictures=3 displayMode=2 displayFps=24 srEnabled=1 filterWindows=3 name=HDMI-OUT-1
                defaultImage=/image/that/is/at/a/place/which/is/very/long/so/long/that/it/en
            VO_WINDOW_DESTROY 7 2002; VO_WINDOW_DESTROY 7 2002 !NUMBER; SET_DEFAULT_IMAGE 0 0 text=/image; SET_SR_ENABLE 0
            DELETE_FILTER_WINDOW 7 3 [0]: width=2 [1]: x=1 [2]: x=3 width=9 !NUMBER
            DELETE_FILTER_WINDOW 7 2 [0]: width=2 [1]: x=1
            VO_START 2001; VO_DISABLE 0; VO_START 2002 !DISABLED; VO_STOP 2001; SET_DISPLAY_MODE displayMode=3 !VALUE
            SET_VO_SRC 2002 picNum=26 !VALUE; SET_VO_SRC 2002 picNum=1 subPic[0].inputId=1002 !NUMBER
            SET_VO_SRC 2002 picNum=1 subPic[0]: decFlag=1 inputId=4003 !NUMBER; SET_VO_SRC 2002 picNum=1 subPic[0].inputId=1003
            SET_VO_SRC 2002 picNum=1 subPic[0]: decFlag=1 inputId=4001
            GET_VO_PORT 1 = .. [0]: enabled=0 started=0 pictures=1 srEnabled=0 filterWindows=1 defaultImage=/image
            VO_CLOSE 2002; OPEN_VO_PORT 0 !DISABLED; VO_ENABLE 0; OPEN_VO_PORT 0 = 2003
            DELETE_FILTER_WINDOW 7 1 [0]: x=3
            GET_VO_PORT 1 = .. [0]: enabled=1 outEngNo=2003 xOffset=0 yOffset=0 queHandle=0 pictures=0 filterWindows=0
            GET_VO_PORT 0 !VALUE; GET_VO_PORT 3 !VALUE)",
        queue);
}

// Scripts see messages as the decoder does; here the compiler says where a field lies.
FORKED_TEST(VideoService, FieldsLieWhereTheHeadersSay)
{
    Play("OPEN_VI_PORT 2 = 1001; OPEN_VO_PORT 1 = 2001; VI_START 1001");
    VeskVideoVoMultiPicParam source{};
    source.picNum = 1;
    source.subPic[0].inputId = 1001;
    EXPECT_EQ(VeskVideoVoSetSrc(2001, &source), 0U);
    EXPECT_EQ(VeskVideoVoStart(2001), 0U);
    const std::string first = Arrived(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY).at(0);
    ASSERT_EQ(first.size(), sizeof(VeskVideoDisplayLink));
    const auto& link = *reinterpret_cast<const VeskVideoDisplayLink*>(first.data());
    EXPECT_EQ(std::tuple(link.viPort, link.isDec, link.surfaceId, std::string(link.portName)),
              std::tuple(2, 0, 2001U, "NET-CAMERA"));
    VeskVideoViPortInfo ports[3]{};
    EXPECT_EQ(VeskVideoGetViPort(ports, 3), 0U);
    const auto port = std::bit_cast<VeskServiceViPort>(ports[2]);
    EXPECT_EQ(std::tuple(port.port, port.inEngNo, port.started, port.height, std::string(port.name)),
              std::tuple(2U, 1001U, 1U, 1080U, "NET-CAMERA"));
}

FORKED_TEST(VideoService, RecordsAreReadAsTheyWereSet)
{
    Play("OPEN_VI_PORT 0; OPEN_VI_PORT 2; OPEN_VO_PORT 0; OPEN_VO_PORT 1; ENC_CREATE; ENC_CREATE; "
         "DEC_CREATE; DEC_CREATE");
    for (const auto& [verb, sign] : {std::pair("SET_", " "), {"GET_", " = "}}) { // all are set, then read
        for (const auto& [record, first, fields] :
             {std::tuple("VI_PARAM", 1001U, "param0=3% param1=4% param2=5% param3=6% param4=7% param9=-8%"),
              {"VO_PARAM", 2001U, "param0=3% param1=4% param2=-5% param7=6% param8=7%"},
              {"ENC_PARAM", 3001U,
               "codcType=1 pt=4% w=5% h=6% fr=2% br=7% secType=8% serviceData0=0% effect=9% dtFmtCap=1%"},
              {"ENC_PARAM_EX", 3001U, "exParam0=3% exParam1=4% exParam3=5% exParam6=6% serviceData=0%"},
              {"DEC_PARAM", 4001U,
               "codecType=1 payloadType=4% w=5% h=6% secType=2% serviceData=0% transType=9%"}}) {
            for (const uint32_t nth : {0U, 1U})
                Play(std::string(verb) + record + ' ' + std::to_string(first + nth) + sign + fields, 0,
                     nth + 1);
        }
    }
    // Framing is set for a port and read by its engine.
    for (const std::string name : {"VI_CUTOUT_PARAM", "VI_PTZF_PARAM"}) {
        const std::string field = name == "VI_PTZF_PARAM" ? " zoom=" : " crop.height=9 crop.width=";
        const std::string one = field + "101 reserved=01(00*310)02",
                          two = field + "103 reserved=03(00*310)04";
        Play("SET_" + name + " 0" + one + "; SET_" + name + " 2" + two);
        Play("GET_" + name + " 1001 =" + one + "; GET_" + name + " 1002 =" + two);
    }
}

FORKED_TEST(Stepped, ChannelsAreDescribedAndCountedFieldByField)
{
    Play(
        R"(ENC_CREATE = 3001; ENC_CREATE = 3002; DEC_CREATE = 4001; DEC_CREATE = 4002; ENC_MODIFY_FRAME_RATE 3001 60 !STATE
            SET_ENC_PARAM 3001 w=100 h=200 fr=30; SET_ENC_PARAM_EX 3001 exParam0=100; SET_ENC_QUE_HANDLE 3001 #
            ENC_START 3001; ENC_FORCE_KEYFRAME 3001; ENC_FORCE_KEYFRAME 3001; ENC_MODIFY_FRAME_RATE 3001 1; ENC_STOP 3001
            ENC_MODIFY_FRAME_RATE 3001 60; ENC_MODIFY_FRAME_RATE 3001 0 !VALUE; ENC_MODIFY_FRAME_RATE 3001 61 !VALUE
            ENC_FORCE_KEYFRAME 3001 !STATE; SET_ENC_FEC_PARAM 3001 lossRate=0.5
            ENCODER_GET_STATUS 3001 = width=100 height=200 frameRate=60 queId=# keyFrames=2 state=1
            SET_ENC_FEC_PARAM 3001; SET_ENC_PARAM 3002 w=3840 h=2160 fr=60; ENC_START 3002
            SET_ENC_FEC_PARAM 3002 constLostNum=1
            ENCODER_GET_ALL_STATUS 3 = [0]: stmNo=3001 status.width=100 status.height=200 status.frameRate=60
                status.queId=# status.keyFrames=2 [1]: stmNo=3002 status.started=1 status.width=3840
                status.height=2160 status.frameRate=60 status.state=1
            ENCODER_GET_ALL_STATUS 1 = [0]: stmNo=3001 status.width=100 status.height=200 status.frameRate=60
                status.queId=# status.keyFrames=2; ENCODER_GET_CHR_STATISTICS 3001 = starts=1 stops=1 changes=4
                keyFrames=3
            ENCODER_GET_CHR_STATISTICS 3002 = starts=1 changes=1 keyFrames=1; SET_DEC_PARAM 4001 w=300 h=400
            SET_DEC_PARAMEX 4001 serviceData[0]=1; SET_DEC_QUE_HANDLE 4001 %; SET_DEC_MOVE_STATE 4001 9; DEC_START 4001
            DEC_STOP 4001; DEC_START 4001; DECODER_GET_STATUS 4001 = started=1 width=300 height=400 queId=% state=9
            SET_DEC_PARAM 4002 w=16 h=16
            DECODER_GET_ALL_STATUS 3 = [0]: stmNo=4001 status.started=1 status.width=300 status.height=400
                status.queId=% status.state=9 [1]: stmNo=4002 status.width=16 status.height=16
            DECODER_GET_CHR_STATISTICS 4001 = starts=2 stops=1 changes=1
            DECODER_GET_CHR_STATISTICS 4002 = changes=1)",
        Number(VeskVideoBuffCreateQueue), Number(VeskVideoBuffCreateQueue));
    for (const std::string bad : {"w=15", "h=15", "w=3841", "h=2161", "codecType=2", "codecType=-1"})
        Play("SET_DEC_PARAM 4001 w=16 h=16 " + bad + " !VALUE");
    for (const std::string bad :
         {"w=15", "h=15", "w=3841", "h=2161", "codcType=2", "codcType=-1", "fr=0", "fr=61", "br=50001"})
        Play("SET_ENC_PARAM 3001 w=16 h=16 fr=60 br=50000 " + bad + " !VALUE");
    Play(R"(GET_ENCODE_CAPABILITY = maxChannel=16 codec[0]: support=1 blocksPs=3888000 blockspf=32400
                maxWidth=3840 minWidth=16 maxHeight=2160 minHeight=16 maxBandWidth=50000 h264MaxLevel=52
                isSvc=1 profiles=1,0,1 fecs=1 codec[1]: support=1 blocksPs=3888000 blockspf=32400
                maxWidth=3840 minWidth=16 maxHeight=2160 minHeight=16 maxBandWidth=50000 h265MaxLevel=51
                profiles=1,0,1 fecs=1
            GET_DECODE_CAPABILITY = maxChannel=16 codec[0]: support=1 blocksPs=1944000 maxWidth=3840
                minWidth=16 maxHeight=2160 minHeight=16 isSvc=1 profiles=1,0,1 fecs=1 codec[1]: support=1
                blocksPs=1944000 maxWidth=3840 minWidth=16 maxHeight=2160 minHeight=16 profiles=1,0,1 fecs=1
            GET_CAPABILITY 0 = value=3; GET_CAPABILITY 1 = type=1 value=2; GET_CAPABILITY 2 = type=2 value=16
            GET_CAPABILITY 3 = type=3 value=16; GET_CAPABILITY 4 !VALUE)");
}

FORKED_TEST(VideoService, CamerasMoveAndRememberPresets)
{
    const auto move = [](const std::string& command, int times, const std::string& outcome = "") {
        for (int i = 0; i < times; ++i)
            Play("CAMERA_CONTROL 1001 " + command + (outcome.empty() ? "" : " !VALUE") +
                 "; ON CAMERA_CTRL_RESULT camCtrlCmd=" + command + outcome);
    };
    Play("OPEN_VI_PORT 0 = 1001; OPEN_VI_PORT 2 = 1002; OPEN_VI_PORT 1 = 1003; GET_BOUNDARY_STATE 1001 =");
    move("1", 9);
    Play("GET_BOUNDARY_STATE 1001 =; CAMERA_CONTROL 1001 16 = pan=-9 tilt=0 commands=9");
    move("1", 3);
    move("3", 12);
    Play("GET_BOUNDARY_STATE 1001 = pan=-1 tilt=1; CAMERA_CONTROL 1001 16 = pan=-10 tilt=10 commands=24");
    move("2", 21);
    move("4", 1);
    Play("GET_BOUNDARY_STATE 1001 = pan=1; CAMERA_CONTROL 1001 16 = pan=10 tilt=9 commands=46; "
         "CAMERA_CONTROL 1002 16 "
         "= pan=0");
    for (const auto& [command, outcome] :
         {std::pair("0", ""), {"22", ""}, {"-1", " errCode=0x207"}, {"23", " errCode=0x207"}})
        move(command, 1, outcome);
    Play(R"(CAMERA_CONTROL 1001 16 = pan=10 tilt=9 commands=48; CAMERA_CONTROL 1003 1 !STATE
            SET_PRESET 1003 isValid=1 presetId=1 !STATE; SET_PRESET 1001 isValid=7 presetId=7
            SET_PRESET 1001 isValid=4 presetId=4; SET_PRESET 1002 isValid=5 presetId=5
            SET_PRESET 1001 presetId=5 !NUMBER; GET_PRESET_COUNT = 3
            QUERY_PRESET 0 5 = [0]: isValid=4 presetId=4 [1]: isValid=7 presetId=7 [2]: isValid=5 presetId=5
            QUERY_PRESET 0 1 = [0]: isValid=4 presetId=4
            QUERY_PRESET 1001 3 = [0]: isValid=4 presetId=4 [1]: isValid=7 presetId=7
            QUERY_PRESET 1002 1 = [0]: isValid=5 presetId=5; QUERY_PRESET 0 0 !VALUE; QUERY_PRESET 0 1025 !VALUE
            QUERY_PRESET 0 1024 = [0]: isValid=4 presetId=4 [1]: isValid=7 presetId=7 [2]: isValid=5
                presetId=5; GET_VI_PT_STATUS 1001 = 0; GET_VI_AF_STATUS 1001 = 0; EXECUT_VI_TRACKING_PARAM 1001 !STATE
            VI_START 1001; GET_VI_PT_STATUS 1001 = 0; GET_VI_AF_STATUS 1001 = 1; EXECUT_VI_TRACKING_PARAM 1001
            GET_VI_PT_STATUS 1001 = 1; GET_VI_PT_STATUS 1002 = 0
            SET_VI_CUTOUT_PARAM 0 crop.width=-1 crop.height=1 !VALUE; SET_VI_CUTOUT_PARAM 0 crop.height=1 !VALUE
            SET_VI_CUTOUT_PARAM 0 crop.width=1 !VALUE; SET_VI_PTZF_PARAM 0 zoom=99 !VALUE
            SET_VI_PTZF_PARAM 0 zoom=10001 !VALUE; SET_VI_PTZF_PARAM 0 zoom=10000)");
}

FORKED_TEST(VideoService, LinksAndJobsAreNotified)
{
    Play(
        R"(OPEN_VI_PORT 2 = 1001; OPEN_VI_PORT 0 = 1002; DEC_CREATE = 4001; DEC_CREATE = 4002; DEC_CREATE = 4003
            OPEN_VO_PORT 1 = 2001; VI_START 1001; VI_START 1002; SET_DEFAULT_IMAGE 1 0 text=/image; VO_START 2001
            ON DISPLAY_FIRST_FRAME viPort=-1 portName=HDMI-OUT-2 surfaceId=2001; VO_CLOSE 2001
            ON DISPLAY_DESTROY_LINK viPort=-1 portName=HDMI-OUT-2 surfaceId=2001; OPEN_VO_PORT 1 = 2002
            SET_VO_SRC 2002 picNum=1 subPic[0]: inputId=1001; VO_START 2002
            ON DISPLAY_FIRST_FRAME viPort=2 portName=NET-CAMERA surfaceId=2002; VO_STOP 2002
            SET_VO_SRC 2002 picNum=2 subPic[0]: decFlag=5 inputId=4002 subPic[1]: inputId=1001; VO_START 2002; VO_CLOSE 2002
            ON DISPLAY_DESTROY_LINK viPort=2 portName=NET-CAMERA surfaceId=2002
            ON DISPLAY_FIRST_FRAME viPort=2 portName=NET-CAMERA surfaceId=2002
            ON DISPLAY_DESTROY_LINK viPort=2 portName=NET-CAMERA surfaceId=2002; OPEN_VO_PORT 0 = 2003
            SET_VO_SRC 2003 picNum=1 subPic[0]: inputId=1002; VO_START 2003
            ON DISPLAY_FIRST_FRAME portName=CAMERA surfaceId=2003; SET_WALLPAPER_INFO; SET_WALLPAPER_INFO
            ON WALLPAPER_DEC_OK 1; ON WALLPAPER_DEC_OK 2; SET_ANNOTATION_STATUS 1 2 7
            ON DATA_AUX_ANNOTATION_CAP_READY data=07000000; VERYFY_IMAGE 1 !UNREACHABLE; GET_SNAPSHOT 1 2
            SET_ANDROID_MMEDIA_PROJECTION 1 1 !STATE; INIT_ANDROID_OBJECTS 0 0 !VALUE
            INIT_ANDROID_OBJECTS 1 0; SET_ANDROID_MMEDIA_PROJECTION 1 1)");
    for (uint32_t i = 3001; i <= 3006; ++i)
        Play("ENC_CREATE = #; SET_ENC_PARAM # w=16 h=16 fr=1; ENC_START #" +
                 std::string(i > 3004 ? "; ON ENCODE_STATUS encStmNo=# rts=1" : ""),
             i);
    Play(R"(ENC_STOP 3006; ENC_STOP 3001; ON ENCODE_STATUS encStmNo=3001
            ON ENCODE_STATUS encStmNo=3005; ON ENCODE_STATUS encStmNo=3006; ENC_STOP 3002
            SET_LOOP_MODE encNo=3001 decNo=4002 mode=1 = 5001; SET_LOOP_MODE encNo=3002 decNo=4003 mode=1 = 5002
            SET_LOOP_MODE encNo=3003 decNo=4002 mode=1 = 5003; SET_LOOP_MODE encNo=3004 decNo=4002 mode=1 = 5004
            SET_LOOP_START 5001 3; SET_LOOP_START 5002 1; SET_LOOP_START 5003 1; SET_LOOP_START 5003 0; SET_LOOP_START 5004 1
            ENC_STOP 3004; ON LOCAL_LOOP_STATE 3 0; ON LOCAL_LOOP_STATE 1 0; ON LOCAL_LOOP_STATE 1 0
            ON LOCAL_LOOP_STATE 0 0; ON LOCAL_LOOP_STATE 1 0; ENC_DELETE 3004
            SET_LOOP_MODE encNo=3099 decNo=4002 mode=1 !NUMBER; SET_LOOP_MODE encNo=3001 decNo=4099 mode=1 !NUMBER
            SET_DEC_PARAM 4002 w=16 h=16; DEC_START 4002; ON DECODE_STATUS decStmNo=4002 state=1; ON IFREAME_REQUEST 3001
            SET_DEC_PARAM 4002 w=32 h=32; ON DECODE_RECREATE_OK 4002; SET_DEC_PARAMEX 4002 serviceData[0]=1
            ON DECODE_RECREATE_OK 4002; DEC_STOP 4002; ON DECODE_STATUS decStmNo=4002; SET_DEC_PARAM 4002 w=16 h=16)");
    Play("CLOSE_VI_PORT 1001; VO_CLOSE 2003; ON DISPLAY_DESTROY_LINK portName=CAMERA surfaceId=2003");
    EXPECT_EQ(Seen(), "100 101 100 101 102 103 102 102 103 106 108 106 108 106 108 106 6 6 109 2 2 2 2 2 0 0 "
                      "0 0 0 4 5 3 3 4 108 ");
}

// Each line is about one encoder, or two.
FORKED_TEST(VideoService, EncodersShareWhatTheDeviceCanCode)
{
    uint32_t encoders[5];
    for (uint32_t& encoder : encoders)
        encoder = Number(VeskVideoEncoderCreate);
    const auto& [a, b, c, d, e] = encoders;
    Play("SET_ENC_PARAM # w=3840 h=2160 fr=60; ENC_START #", a);
    Play("SET_ENC_PARAM # w=3840 h=2160 fr=60; ENC_START #; SET_ENC_PARAM % w=16 h=16 fr=1", b, c);
    Play("ENC_START #; ON ENCODE_STATUS encStmNo=# rts=1", c); // no more run at speed
    Play("SET_ENC_PARAM # w=17 h=16 fr=1; ON ENCODE_STATUS encStmNo=# rts=1", c);
    Play("ENC_MODIFY_FRAME_RATE # 59; ON ENCODE_STATUS encStmNo=#; ON ENCODE_STATUS encStmNo=%", a, c);
    Play("SET_ENC_PARAM # w=3840 h=2160 fr=60; ON ENCODE_STATUS encStmNo=# rts=1", c);
    Play("SET_ENC_PARAM # w=3840 h=2160 fr=59; ENC_START #; ON ENCODE_STATUS encStmNo=# rts=1", d);
    Play("ENC_MODIFY_FRAME_RATE # 60; ON ENCODE_STATUS encStmNo=# rts=1", a); // 32400 blocks are left
    Play("SET_ENC_PARAM # w=16 h=16 fr=1; ENC_START #; ON ENCODE_STATUS encStmNo=# rts=1", e);
    Play(R"(ENC_MODIFY_FRAME_RATE # 60 !ROOM; ON ENCODE_RESOURCE_INSUFFICIENT #
            GET_ENC_PARAM # = w=3840 h=2160 fr=59; ENC_STOP #; ENC_MODIFY_FRAME_RATE # 60; ENC_START # !ROOM
            ON ENCODE_RESOURCE_INSUFFICIENT #; ENC_DELETE #; ENC_DELETE %)",
         d, c);
    Play("ENC_DELETE %; ON ENCODE_STATUS encStmNo=#; ON ENCODE_STATUS encStmNo=%", a, e);
}

FORKED_TEST(Stepped, FramesPassWithTimeWhereTheyAreCodedAndCarried)
{
    const uint32_t encoder = Number(VeskVideoEncoderCreate), decoder = Number(VeskVideoDecoderCreate);
    const uint32_t loop = Number(VeskVideoSetStreamLoop, encoder, decoder, 1U);
    Play(R"(SET_ENC_PARAM # w=16 h=16 fr=30; ENC_START #; SET_DEC_PARAM % w=16 h=16; CONTROL_TIME 1000
            DEC_START %; ON DECODE_STATUS decStmNo=% state=1; CONTROL_TIME 1000
            ENCODER_GET_CHR_STATISTICS # = starts=1 changes=1 frames=60 keyFrames=1
            DECODER_GET_CHR_STATISTICS % = starts=1 changes=1)",
         encoder, decoder);
    Play(R"(SET_LOOP_START # 1; ON LOCAL_LOOP_STATE 1 0; SET_LOOP_START # 1; ON LOCAL_LOOP_STATE 1 0
            ON IFREAME_REQUEST %)",
         loop, encoder);
    // 45.3 frames and 0.8; half a second without; 0.98 and 0.02; one without the decoder
    Play(R"(ENC_FORCE_KEYFRAME #; CONTROL_TIME 1510; ENC_MODIFY_FRAME_RATE # 20; CONTROL_TIME 40; ENC_STOP #
            CONTROL_TIME 500; ENC_START #; CONTROL_TIME 49
            ENCODER_GET_CHR_STATISTICS # = starts=2 stops=1 changes=2 frames=106 keyFrames=3
            DECODER_GET_CHR_STATISTICS % = starts=1 changes=1 frames=46 keyFrames=2; CONTROL_TIME 1; DEC_STOP %
            ON DECODE_STATUS decStmNo=%; CONTROL_TIME 50; ENC_FORCE_KEYFRAME #
            ENCODER_GET_CHR_STATISTICS # = starts=2 stops=1 changes=2 frames=108 keyFrames=4
            DECODER_GET_CHR_STATISTICS % = starts=1 stops=1 changes=1 frames=47 keyFrames=2; DEC_START %
            ON DECODE_STATUS decStmNo=% state=1; ON IFREAME_REQUEST #; DEC_DELETE %
            ON DECODE_STATUS decStmNo=%; DEC_CREATE)",
         encoder, decoder);
    Play(R"(SET_LOOP_START # 1 !NUMBER; ON LOCAL_LOOP_STATE 1 0x203; SET_LOOP_START # 0
            ON LOCAL_LOOP_STATE 0 0)",
         loop);
    EXPECT_EQ(Arrived(VESK_VIDEO_ON_IFREAME_REQUEST).size(), 2U);
}

TEST(Codecs, ALoopIsNotTakenOverByAChannelThatGetsANumberAgain)
{
    vesk::service::Notifications notifications;
    const vesk::service::Timeline timeline({});
    vesk::service::Codecs codecs(notifications, vesk::service::DefaultDevice(), timeline);
    uint32_t encoder = 0, decoder = 0, loop = 0, other = 0;
    codecs.CreateEncoder({}, &encoder);
    codecs.CreateDecoder({}, &decoder);
    codecs.CreateLoop({}, {encoder, decoder, 0, 0}, &loop);
    do {
        codecs.DeleteDecoder(*codecs.decoders.Find(other != 0 ? other : decoder));
        codecs.CreateDecoder({}, &other);
    } while (other != decoder);
    EXPECT_EQ(codecs.SwitchLoop(*codecs.loops.Find(loop), 1), VESK_SERVICE_ERR_NUMBER);
}

FORKED_TEST(VideoService, QueuesComeWithTheirOwners)
{
    Play("OPEN_VI_PORT 0 = 1001; GET_VI_QUE_HANDLE 1001 !NOT_YET; CREATE_OVERLAY_CHANNEL_PARAM 1 100");
    const std::jthread starter([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        VeskVideoViStart(1001);
    });
    const uint32_t queue = Number(VeskVideoViGetQueHandle, 1001U); // waits for it
    const uint32_t overlay = Number(VeskVideoGetOverlayQueHandle, 100U);
    Play("GET_VI_QUE_HANDLE 1001 = #; GET_OVERLAY_QUE_HANDLE 100 = %", queue, overlay);
    HostQueueState state{};
    for (const auto& [id, name] : {std::pair(queue, "vi_1001"), std::pair(overlay, "overlay_100")}) {
        ASSERT_EQ(HostQueueFind(id, &state), 0U);
        EXPECT_EQ(state.creator, service.Process());
        EXPECT_EQ(state.count, 32U);
        EXPECT_STREQ(state.name, name);
    }
    Play("CLOSE_VI_PORT 1001; DESTROY_OVERLAY_PARAM 100");
    EXPECT_NE(HostQueueFind(queue, &state), 0U);
    EXPECT_NE(HostQueueFind(overlay, &state), 0U);
    const uint32_t mine = Number(VeskVideoBuffCreateQueue);
    ASSERT_EQ(HostQueueFind(mine, &state), 0U);
    EXPECT_STREQ(state.name, "vid_2k_2000_0");
    EXPECT_STREQ(state.peerProcName, "VIDEO");
    Play("DESTROY_QUEUE #; DESTROY_QUEUE # !NUMBER; CREATE_QUEUE #", mine);
    Play("OPEN_VO_PORT 0; ENC_CREATE; DEC_CREATE; OPEN_MOUSE_PORT 1; OPEN_LOCAL_MOUSE");
    for (const std::string owner : {"VO_QUE_HANDLE 2001 ", "ENC_QUE_HANDLE 3001 ", "DEC_QUE_HANDLE 4001 ",
                                    "MOUSE_QUE_HANDLE 6001 ", "LOCAL_MOUSE_QUE_HANDLE 7001 "}) {
        const std::string set = "SET_" + owner;
        Play(set + "#; " + set + "% !NUMBER; " + set + "0", mine, overlay);
    }
    Play("OPEN_VI_PORT 0 = 1002; SET_CAMERA_QUEUE_ID 1002 #; SET_CAMERA_QUEUE_ID 1002 %", mine, overlay);
    Play(
        "GET_VI_PORT 1 = [0]: portType=1 plugged=1 enabled=1 inEngNo=1002 faceQueue=# width=3840 height=2160 "
        "fr=30 name=CAMERA",
        mine);
}

FORKED_TEST(VideoService, ThingsHaveStatesAndThereIsRoomForSoMany)
{
    for (const Thing& thing : kThings) {
        const std::string start = thing.start, stop = thing.stop, remove = thing.remove;
        for (uint32_t i = 0; i < thing.most; ++i)
            Create(thing, i, 0, i == 0 && !thing.isNumberedOn ? " = %" : "");
        Create(thing, thing.most, 0, std::string(" ") + thing.full);
        if (*thing.prepare != '\0')
            Play(start + " !STATE;" + thing.prepare, 0, thing.first);
        Play(start, 0, thing.first);
        if (!stop.empty())
            Play(stop + ";" + stop + " !STATE;" + start + ";" + start + " !STATE", 0, thing.first);
        Play(stop.empty() ? "" : stop + " !STATE", 0, thing.first + 1); // another
        Play(remove + ";" + remove + " !NUMBER;" + start + " !NUMBER", 0, thing.first);
        Create(thing, 0, 0, "");
        Create(thing, thing.most, 0, std::string(" ") + thing.full);
    }
    Play(R"(MOUSE_CONNECT 6002 99 !NUMBER; CREATE_OVERLAY_CHANNEL_PARAM 1 3 !BUSY
            SET_UVC_PARAM 1; UVC_REQ_I_FRAME 1 !STATE
            START_UVC_STREAM 1; UVC_REQ_I_FRAME 1; DEINIT_UVC; STOP_UVC_STREAM 1 !NUMBER; OPEN_UVC_PORT !STATE)");
}

FORKED_TEST(VideoService, ListsHaveRoomForSoMany)
{
    const std::tuple<uint32_t, std::string, std::string, std::string> lists[] = {
        {64, "SET_PRESET 1001 isValid=1 presetId=#", "SET_PRESET 1001 presetId=#",
         ""}, // what is there already is taken, or not
        {1024, "SET_FILTER_WINDOW 7 1 [0].x=#", "DELETE_FILTER_WINDOW 7 1 [0].x=#", " !ROOM"},
        {64, "ADVANCE_QUE_CLIENT_INIT text=s#", "", ""},
        {64, "SET_VI_CONNECT 1001 #", "SET_VI_DISCONNECT 1001 #", " !STATE"},
        {15, "INIT procName=c# taskName=VAPI", "EXIT", ""}}; // and this application's own
    Play("OPEN_VI_PORT 0 = 1001");
    for (const auto& [most, add, remove, again] : lists) {
        for (uint32_t i = 0; i < most; ++i)
            Play(add, i);
        Play(add + " !ROOM", most);
        Play(add + again, 5);
        if (remove.empty())
            continue;
        Play(remove, 5);
        Play(add, most);
        Play(add + " !ROOM", most + 1);
    }
    std::vector<Child> others; // have the other names, of 256
    for (uint32_t first = 100; first < 1600; first += 100) {
        others.push_back(Prepared([&] {
            for (uint32_t i = 0; i < 16; ++i)
                Play("INIT procName=c# taskName=VAPI", first + i);
        }));
    }
    InFork([] { Play("INIT procName=c# taskName=VAPI !ROOM", 1700); });
    others.pop_back();
    InFork([] { Play("INIT procName=c# taskName=VAPI", 1700); });
}

FORKED_TEST(Application, A1024QueuesAreAnnouncedUntilACreatorEnds)
{
    if (*VESK_EMULATOR != '\0')
        return; // too slow there
    const Child service = StartService();
    const auto fill = [](int count) {
        for (int i = 0; i < count; ++i)
            Number(VeskVideoBuffCreateQueue);
    };
    const auto refused = [] {
        uint32_t queue = 0;
        const auto begun = std::chrono::steady_clock::now();
        EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), uint32_t{VESK_SERVICE_ERR_ROOM});
        EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::milliseconds(100));
    };
    std::vector<Child> creators;
    for (int i = 0; i < 8; ++i)
        creators.push_back(Prepared([&] {
            fill(128);
            refused(); // one process has no more
        }));
    refused();
    creators.pop_back();
    fill(127);
    Play("EXIT; GET_VO_COUNT = 2"); // which frees them
    fill(128);
    refused();
}

FORKED_TEST(Application, WhatItHeldIsFreeOnceItHasLeftOrIsDead)
{
    const Child service = StartService();
    const auto fill = [](uint32_t round, const char* andThen) {
        return Prepared([=] {
            FillAll(round);
            Play(andThen);
        });
    };
    const Child left = fill(0, "EXIT; GET_VO_COUNT = 2");
    fill(1, ""); // while the first still lives; then it is dead
    FillAll(2);
}

TEST(Counters, DurationsCountUpToTheirBound)
{
    vesk::service::Counters counters;
    using std::chrono::nanoseconds;
    for (const uint64_t ns : {0UL, 100'000UL, 100'001UL, 5'000'000'000UL, 5'000'000'001UL, UINT64_MAX / 4})
        counters.Took(VESK_VIDEO_MSG_INIT, nanoseconds(ns));
    counters.Took(999, nanoseconds(1));
    const auto& durations = counters.Listed().at(VESK_VIDEO_MSG_INIT).durations;
    const std::vector<uint64_t> counts(durations.counts.begin(), durations.counts.end());
    EXPECT_EQ(counts, (std::vector<uint64_t>{2, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2}));
    EXPECT_EQ(durations.sumNs, 10'000'200'002U + UINT64_MAX / 4);
}

constexpr HostProcess kDead = 1; // in an empty runtime directory

FORKED_TEST(Application, TheLastSixteenSnapshotsAndTheLastWallpaperAreKept)
{
    vesk::service::Service service({"VIDEO", "VCTL"}, vesk::service::DefaultDevice(), {.isStep = true});
    vesk::service::Device& device = service.device;
    VeskControlTime time{};
    for (uint32_t i = 1; i <= 17; ++i) {
        service.timeline.Move(5, &time);
        EXPECT_EQ(device.TakeSnapshot(service, {"app", "", kDead}, 7, 8, {.taskId = i}), 0U);
    }
    ASSERT_EQ(device.Snapshots().size(), 16U);
    const auto& first = device.Snapshots().front();
    EXPECT_EQ(std::tuple(first.number, first.scene.atMs, first.value3, first.value2, first.param.taskId),
              std::tuple(2U, 10U, 7U, 8U, 2U));
    for (const uint32_t start : {uint32_t{'a'}, uint32_t{0}}) {
        device.SetWallpaper({}, {{start, 9}});
        EXPECT_EQ(device.Done().wallpaper.serviceData[1], start != 0 ? 9U : 0U);
    }
}

FORKED_TEST(VideoService, WhatADisplayCannotShowIsRefused)
{
    Play(
        R"(CREATE_OVERLAY_CHANNEL_PARAM 1 7; SET_OVERLAY_PARAM 7 display=2 !NUMBER; SET_OVERLAY_PARAM 7 opacity=101 !VALUE
            GET_SNAPSHOT 1 2 voPort=2 !NUMBER; ENABLE_OVERLAY_PARAM 7 1 !STATE
            SET_OVERLAY_PARAM 7 display=1 opacity=100 window.x=-9 window.width=1 window.height=1)");
    const uint32_t mouse = Number(VeskVideoRemoteMouseOpen, uint8_t{7});
    for (const auto& [width, height] :
         {std::pair<std::string, std::string>("1", "0"), {"0", "1"}, {"-1", "0"}, {"1", "-1"}, {"-1", "-1"}})
        Play("SET_OVERLAY_PARAM 7 window.width=" + width + " window.height=" + height +
                 " !VALUE; SET_REMOTE_MOUSE_BACKGRAND_AREA % width=" + width + " height=" + height +
                 " !VALUE",
             0, mouse);
    EXPECT_EQ(
        SendRaw(VESK_VIDEO_MSG_SET_WALLPAPER_INFO, 0, std::string(sizeof(VeskVideoWallpaperParam), 'x')),
        uint32_t{VESK_SERVICE_ERR_VALUE});
}

// A process that is given the number of a dead one may have been no user at all.
FORKED_TEST(Application, ADeadUserOfUvcIsForgottenWhenAnotherComes)
{
    vesk::service::Uvc uvc(vesk::service::DefaultDevice().limits);
    const vesk::service::Sender dead{"dead", "", kDead}, living{"living", "", HostProcessSelf()};
    uint32_t stream = 0;
    EXPECT_EQ(uvc.Init(dead), 0U);
    EXPECT_EQ(uvc.Open(dead, &stream), 0U);
    EXPECT_EQ(uvc.Init(living), 0U);
    EXPECT_EQ(uvc.Open(dead, &stream), VESK_SERVICE_ERR_STATE);
    EXPECT_EQ(uvc.Open(living, &stream), 0U);
}

FORKED_TEST(Application, ANameOfOneThatDiedBeforeItsRequestWasHandledIsFree)
{
    const vesk::service::Identity self{"VIDEO", "VCTL"};
    vesk::service::Watchers watchers(self);
    vesk::service::Clients clients(self, watchers);
    EXPECT_EQ(clients.Add("app", "VAPI", kDead), vesk::service::kOk);
    EXPECT_EQ(clients.Add("app", "VAPI", HostProcessSelf()), vesk::service::kOk);
    EXPECT_EQ(clients.Add("app", "VAPI", kDead), uint32_t{VESK_SERVICE_ERR_BUSY});
    EXPECT_EQ(clients.SetCallback("app", kDead, {}), uint32_t{VESK_SERVICE_ERR_STATE});
    EXPECT_EQ(clients.SetCallback("app", HostProcessSelf(), {}), 0U);
    EXPECT_EQ(clients.Add("app", "VAPI", HostProcessSelf()), 0U); // it goes on
    EXPECT_TRUE(clients.All().at("app").callback.has_value());
}

FORKED_TEST(VideoService, EveryRequestRefusesNumbersOfOtherKinds)
{
    FillAll(0);
    int refused = 0;
    for (const auto& request : kRequests) {
        for (const auto& argument : request.arguments) {
            const std::string_view identity = IdentityOf(argument.Name());
            if (identity.empty() || request.answer.kind == Kind::kUnanswered)
                continue;
            for (const auto& [kind, number] : kNumbers) {
                if (kind == identity || (identity == vesk::decoder::kEngine && kind.ends_with("EngNo")))
                    continue;
                uint32_t sent[3] = {}; // the other arguments name what they should
                for (size_t i = 0; i < 3; ++i)
                    sent[i] = &request.arguments[i] == &argument ? number : NumberFor(request.arguments[i]);
                const std::string payload(request.payload.kind == Kind::kRecord ? request.payload.size : 0,
                                          '\0');
                EXPECT_EQ(SendRaw(request.number, sent[1], payload, static_cast<uint16_t>(sent[0]), sent[2]),
                          uint32_t{VESK_SERVICE_ERR_NUMBER})
                    << request.name << ' ' << argument.Name() << '=' << number << ", of " << kind;
                ++refused;
            }
        }
    }
    EXPECT_GT(refused, 60 * 6);
}

FORKED_TEST(Application, NumbersBeginWhereASeedSaysAndStayInTheirRange)
{
    const Child service = StartService("--numbers", "7");
    ASSERT_EQ(VeskVideoInit(), 0U);
    for (int round = 0; round < 2; ++round) { // anew after a reset
        Play("OPEN_VI_PORT 0 = 1892; OPEN_VO_PORT 0 = 2721; DEC_CREATE = 4283; OPEN_LOCAL_MOUSE = 7279");
        Play("OPEN_MOUSE_PORT 1 = 6287; ENC_CREATE = 3286; ENC_DELETE 3286; ENC_CREATE = 3287");
        Play("SET_LOOP_MODE encNo=3287 decNo=4283 mode=1 = 5347; CONTROL_RESET");
    }
    using namespace vesk::service;
    Numbered<Owned> few(2, {3000, 999});
    uint32_t number = 0;
    for (const uint32_t next : {3999U, 3000U, 3001U}) {
        EXPECT_EQ(few.Create({}, &number), kOk);
        EXPECT_EQ(number, next);
        few.Erase(*few.Find(number));
    }
}

FORKED_TEST(VideoService, EveryRequestRefusesPayloadsOfAnotherLengthAndUnknownNumbers)
{
    FillAll(0); // of numbers that are there, and which longer ones would be if they were cut off
    int named = 0;
    for (const auto& request : kRequests) {
        SCOPED_TRACE(request.name);
        const size_t size = std::max<size_t>(request.payload.size, 1);
        const std::map<Kind, std::vector<std::string>> wrong = {
            {Kind::kRecord, {"", std::string(size - 1, 'x'), std::string(size + 1, 'x')}},
            {Kind::kArray, {std::string(size, 'x'), std::string(4 * size - 1, 'x')}}, // for three entries
            {Kind::kText, {"", std::string(size, 'x') + '\0', "no NUL", std::string("a\0b\0", 4)}},
            {Kind::kNone, {"x"}},
            {Kind::kBytes, {}},
        };
        for (const std::string& payload : wrong.at(request.payload.kind))
            EXPECT_EQ(SendRaw(request.number, 3, payload, 1, 3), uint32_t{VESK_SERVICE_ERR_LENGTH});
        if (request.payload.kind == Kind::kText) {
            EXPECT_EQ(SendRaw(request.number, 0, '/' + std::string(size - 2, '/') + '\0'),
                      request.number == VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM ? uint32_t{VESK_SERVICE_ERR_VALUE}
                                                                            : 0U);
        }
        const std::string numbers = " inEngNo outEngNo engNo encStmNo decStmNo mouseStmNo localMouseStmNo "
                                    "uvcStmNo port viPort voPort loop "
                                    "queHandle overlayChn sourceId presetSelector imageParam1 ";
        bool isNamed = false;
        for (const auto& argument : request.arguments)
            isNamed |= numbers.find(' ' + std::string(argument.Name()) + ' ') != numbers.npos;
        if (!isNamed || request.answer.kind == Kind::kUnanswered)
            continue;
        std::string payload(request.payload.kind == Kind::kRecord ? size : 0, '\0');
        if (request.payload.kind == Kind::kText)
            payload.assign("x\0", 2);
        const uint64_t longer = 0x100000000 + std::max(NumberFor(request.arguments[1]), 1U);
        EXPECT_EQ(SendRaw(request.number, longer, payload, 99, 98), uint32_t{VESK_SERVICE_ERR_NUMBER});
        ++named;
    }
    EXPECT_GT(named, 60);
    for (const auto& [process, task] : {std::pair<std::string, std::string>("", "VAPI"),
                                        {"a", ""},
                                        {"sixteen-letters!", "VAPI"},
                                        {"a\na", "VAPI"},
                                        {"a\x7f", "VAPI"}}) {
        VeskVideoInitInfo info{};
        process.copy(info.procName, sizeof info.procName);
        task.copy(info.taskName, sizeof info.taskName);
        const std::string payload(reinterpret_cast<const char*>(&info), sizeof info);
        EXPECT_EQ(SendRaw(VESK_VIDEO_MSG_INIT, 0, payload), uint32_t{VESK_SERVICE_ERR_VALUE}) << process;
    }
    Play(
        R"(GET_PRESET_COUNT = 0; ADVANCE_QUE_CLIENT_INIT text= !VALUE; SET_CALLBACK; SET_APP_CAPTURE_PARAM 1001 !VALUE
            EXIT; SET_CALLBACK !STATE)"); // of nobody it knows
    for (const auto unknown : std::initializer_list<uint16_t>{4, 2, 65535})
        EXPECT_EQ(SendRaw(unknown, 0, std::string(100000, 'x')), uint32_t{VESK_SERVICE_ERR_REQUEST});
}
