// Other devices than the default one: their files, and what happens to a device while it is used.
#include "base/error.h"
#include "service/device_file.h"
#include "service/service_fixture.h"
#include "vesk_service/control.h"

#include <fstream>

using namespace vesk::service;

namespace {

/// What is wrong with a device file, after its name.
std::string ErrorIn(const std::string& text)
{
    try {
        ParseDevice(text, "FILE", DefaultDevice());
    } catch (const vesk::Error& error) {
        return error.what() + std::string("FILE:").size();
    }
    return "";
}

} // namespace

TEST(DeviceFile, ErrorsNameLineKeyAndWhatWasExpected)
{
    const std::string input = "[[inputs]]\nname = 'A'\nkind = 'pc'\nplugged = false\n";
    std::string inputs;
    for (char name = 'A'; name < 'A' + 17; ++name)
        inputs += "[[inputs]]\nname = '" + std::string(1, name) + "'\nkind = 'pc'\nplugged = false\n";
    const std::pair<std::string, const char*> rows[] = {
        {"", ""},
        {input, ""},
        {input + "width = 16384\nheight = 0\nfr = 1000\n", ""},
        {"inputs = []\noutputs = []\n", ""},
        {input + "width = -3", "5: inputs[0].width: expected 0 to 16384, not -3"},
        {input + input + "width = 16385", "6: inputs[1].name: expected a name of its own, not \"A\" again"},
        {"[[outputs]]\nname = 'A'\nwidth = 0", "3: outputs[0].width: expected 1 to 16384, not 0"},
        {"[[outputs]]\nname = 'A'\nwidth = 1\nheight = 1", "1: outputs[0].fr: missing; expected 1 to 1000"},
        {"\n[[inputs]]\nplugged = false",
         "2: inputs[0].name: missing; expected 1 to 63 characters, none of control"},
        {"[[inputs]]\nname = \"\\n\"",
         "2: inputs[0].name: expected 1 to 63 characters, none of control, not \"\\n\""},
        {"[[inputs]]\nname = '" + std::string(64, 'x') + "'",
         "2: inputs[0].name: expected 1 to 63 characters, none of control, not \"xxxxxxxx"},
        {"[[inputs]]\nname = 'A'\nplugged = 1", "3: inputs[0].plugged: expected true or false, not 1"},
        {"[[inputs]]\nname = 'A'\nkind = 'tv'\nplugged = false",
         "3: inputs[0].kind: expected \"camera\", \"pc\" or \"net-camera\", not \"tv\""},
        {input + "widht = 3",
         "5: inputs[0].widht: unknown key; expected one of name, plugged, width, height, fr, kind"},
        {inputs, "65: inputs[16]: expected at most 16 entries"},
        {"inputs = 3", "1: inputs: expected an array, not 3"},
        {"inputs = [3.5]", "1: inputs[0]: expected a table, not 3.5"},
        {"limits = []", "1: limits: expected a table, not an array"},
        {"\n\n[limits]\nencoders = 1000", "4: limits.encoders: expected 0 to 999, not 1000"},
        {"[limits]\nblocks_at_speed = 2147483648",
         "2: limits.blocks_at_speed: expected 0 to 2147483647, not 2147483648"},
        {"[limits]\nencoders = '16'", "2: limits.encoders: expected 0 to 999, not \"16\""},
        {"[limits]\nqueues = 1025", "2: limits.queues: expected 0 to 1024, not 1025"},
        {"[limits]\nencoders = 1\nencoders = 2", "3: "},
        {"[limit]", "1: limit: unknown key; expected one of inputs, outputs, limits, pictures, encode, "
                    "decode, defaults"},
        {"[pictures]\nmax_width = 640\nmin_width = 641", "3: pictures.min_width: expected 1 to 640, not 641"},
        {"[pictures]\nmax_height = 8", "2: pictures.max_height: expected 16 to 16384, not 8"},
        {"[[encode]]\nsvc = true", "1: encode[0].codec: missing; expected 0 to 13"},
        {"[[decode]]\ncodec = 14", "2: decode[0].codec: expected 0 to 13, not 14"},
        {"[[decode]]\ncodec = 1\n[[decode]]\ncodec = 1",
         "4: decode[1].codec: expected a number of its own, not 1 again"},
        {"[[encode]]\ncodec = 0\nprofiles = [0, 6]", "3: encode[0].profiles[1]: expected 0 to 5, not 6"},
        {"[[encode]]\ncodec = 0\nfecs = [2, 2]",
         "3: encode[0].fecs[1]: expected different numbers, not 2 again"},
        {"[[encode]]\ncodec = 0\nmax_bandwidth = 4294967296",
         "3: encode[0].max_bandwidth: expected 0 to 4294967295, not 4294967296"},
        {"[defaults.encoder]\nisDtFmtCfg = 256",
         "2: defaults.encoder.isDtFmtCfg: expected 0 to 255, not 256"},
        {"[defaults.encoder]\ndtFmtCap = -1",
         "2: defaults.encoder.dtFmtCap: expected 0 to 9223372036854775807, not -1"},
        {"[defaults.input]\nparam4 = -2147483649",
         "2: defaults.input.param4: expected -2147483648 to 2147483647, not -2147483649"},
        {"name", "1: "},
        {"\nn\u00e4me = 1", "2: "},
    };
    for (const auto& [text, error] : rows) {
        EXPECT_EQ(ErrorIn(text).substr(0, std::string(error).size()), error) << text;
        EXPECT_EQ(ErrorIn(text).empty(), *error == '\0') << text;
    }
}

FORKED_TEST(Application, ADeviceFileThatIsWrongIsNotServed)
{
    const std::string file = directory.File("device.toml");
    std::ofstream(file) << "[limits]\nmice = -1\n";
    const std::string serve = VESK_EMULATOR " " VESK_SERVICE_PATH " --device ";
    const char kOneInput[] = "vesk-video-service: standard input serves one of --device -, --scenario - and "
                             "--end-with-input\n";
    const std::pair<std::string, std::string> rows[] = {
        {file, file + ":2: limits.mice: expected 0 to 999, not -1\n"},
        {directory.File("none"), directory.File("none") + ": No such file or directory\n"},
        {directory.path, directory.path + ": Is a directory\n"},
        {"/dev/zero", "/dev/zero: expected at most 1048576 bytes\n"},
        {"- --scenario -", kOneInput},
        {"- --end-with-input", kOneInput},
    };
    for (const auto& [name, error] : rows) {
        const auto served = Shell(serve + name);
        EXPECT_EQ(served.status, 2);
        EXPECT_EQ(served.output, error);
    }
}

TEST(DeviceFile, TheDefaultDeviceHasThePublishedLimits)
{
    const DeviceDescription& device = DefaultDevice();
    const DeviceLimits& limits = device.limits;
    const std::pair<size_t, int> rows[] = {{device.inputs.size(), VESK_SERVICE_INPUTS},
                                           {device.outputs.size(), VESK_SERVICE_OUTPUTS},
                                           {limits.encoders, VESK_SERVICE_MAX_ENCODERS},
                                           {limits.encodersRunning, VESK_SERVICE_MAX_ENCODERS},
                                           {limits.decoders, VESK_SERVICE_MAX_ENCODERS},
                                           {limits.encodersAtSpeed, VESK_SERVICE_ENCODERS_AT_SPEED},
                                           {limits.blocksAtSpeed, VESK_SERVICE_BLOCKS_AT_SPEED},
                                           {limits.blocksRunning, VESK_SERVICE_MAX_BLOCKS},
                                           {limits.overlays, VESK_SERVICE_MAX_OVERLAYS},
                                           {limits.mice, VESK_SERVICE_MAX_MICE},
                                           {limits.uvc, VESK_SERVICE_MAX_UVC},
                                           {limits.loops, VESK_SERVICE_MAX_LOOPS},
                                           {limits.streams, VESK_SERVICE_MAX_STREAMS},
                                           {limits.queues, VESK_SERVICE_MAX_QUEUES},
                                           {limits.ownQueues, VESK_SERVICE_MAX_OWN_QUEUES},
                                           {limits.presets, VESK_SERVICE_MAX_PRESETS},
                                           {limits.presetQuery, VESK_SERVICE_MAX_PRESET_QUERY}};
    for (const auto& [described, published] : rows)
        EXPECT_EQ(described, static_cast<size_t>(published));
}

// The example that is installed.
FORKED_TEST(Application, AnotherDeviceIsServedAsItsFileSays)
{
    const Child service = StartService("--device", VESK_DEVICES_PATH "/large_room.toml");
    ASSERT_EQ(VeskVideoInit(), 0U);
    Install();
    Play(
        R"(GET_VI_COUNT = 6; GET_VO_COUNT = 3; GET_CAPABILITY 0 = value=6; GET_CAPABILITY 1 = type=1 value=3
            GET_CAPABILITY 2 = type=2 value=6; GET_CAPABILITY 3 = type=3 value=12; ON VO_PORT_PLUG_STATE val=1
            ON VO_PORT_DDC_INFO Width=3840 height=2160 fr=60; ON VO_PORT_PLUG_STATE port=1 val=1
            ON VO_PORT_DDC_INFO port=1 Width=3840 height=2160 fr=60; ON VO_PORT_PLUG_STATE port=2
            OPEN_VI_PORT 5 = 1001
            GET_VI_PORT 6 = [0]: portType=1 plugged=1 enabled=1 width=3840 height=2160 fr=60
                name=FRONT-CAMERA [1]: port=1 portType=1 plugged=1 enabled=1 width=1920 height=1080 fr=30
                name=BACK-CAMERA [2]: port=2 portType=2 plugged=1 enabled=1 width=2560 height=1440 fr=60
                name=LECTERN [3]: port=3 portType=2 enabled=1 name=TABLE [4]: port=4 portType=16 plugged=1
                enabled=1 width=1280 height=720 fr=25 name=HALL-CAMERA-1 [5]: port=5 portType=16 plugged=1
                enabled=1 inEngNo=1001 width=1280 height=720 fr=25 name=HALL-CAMERA-2
            GET_ENCODE_CAPABILITY = maxChannel=6 codec[0]: support=1 blocksPs=489600 blockspf=8160
                maxWidth=1920 minWidth=16 maxHeight=1080 minHeight=16 maxBandWidth=20000 h264MaxLevel=42
                profiles=1,1,1
            GET_DECODE_CAPABILITY = maxChannel=12 codec[0]: support=1 blocksPs=244800 maxWidth=1920
                minWidth=16 maxHeight=1080 minHeight=16 isSvc=1 profiles=1,0,1 fecs=1 codec[1]: support=1
                blocksPs=244800 maxWidth=1920 minWidth=16 maxHeight=1080 minHeight=16 profiles=1,0,1 fecs=1
            OPEN_VO_PORT 2 = 2001; VO_START 2001 !UNPLUGGED; GET_VO_PARAM 2001 = param0=1920 param1=1080)");
    for (uint32_t i = 3001; i <= 3006; ++i)
        Play("ENC_CREATE = #; GET_ENC_PARAM # = w=1280 h=720 fr=30 br=2000; ENC_START # !STATE; "
             "SET_ENC_PARAM # w=1920 "
             "h=1080 fr=30",
             i);
    Play(
        R"(ENC_CREATE !ROOM; ON ENCODE_RESOURCE_INSUFFICIENT 0; SET_ENC_PARAM 3001 w=1921 h=1080 fr=30 !VALUE
            SET_ENC_PARAM 3001 w=16 h=16 fr=31 !VALUE; ENC_START 3001; ENC_START 3002; ENC_START 3003
            ON ENCODE_STATUS encStmNo=3003 rts=1; ENC_START 3004; ON ENCODE_STATUS encStmNo=3004 rts=1
            ENC_START 3005 !ROOM; ON ENCODE_RESOURCE_INSUFFICIENT 3005; ENC_START 3004 !STATE; ENC_STOP 3001; ENC_START 3005
            ON ENCODE_STATUS encStmNo=3005 rts=1)");
}

FORKED_TEST(Application, WhatHappensToPortsIsToldToEveryClient)
{
    const Child service = StartService();
    const std::string announced = "100 101 100 101 102 103 102 102 103 ";
    Child other = Prepared(
        [&] {
            g_name = "other";
            Join();
        },
        [] {
            Arrived(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY);
            std::printf("%s", Seen().c_str());
        });
    Join();
    EXPECT_EQ(Seen(), announced);
    Play(R"(CONTROL_UNPLUG 0 0; ON VI_PORT_PLUG_STATE val=1; ON VI_PORT_PLUG_STATE port=1
            ON VI_PORT_PLUG_STATE port=2 val=1; ON VI_PORT_PLUG_STATE; CONTROL_UNPLUG 0 0 !STATE
            CONTROL_MODE 0 0 width=640 height=480 fr=30 !UNPLUGGED
            CONTROL_PLUG 0 0 width=16385 height=480 fr=30 !VALUE; CONTROL_PLUG 0 0
            ON VI_PORT_PLUG_STATE val=1; CONTROL_PLUG 0 0 !STATE; CONTROL_PLUG 0 1 !VALUE
            CONTROL_PLUG 0 1 width=1280 height=720 fr=60; ON VI_PORT_PLUG_STATE port=1 val=1
            ON VI_PORT_PIXEL_INFO portType=1 Width=3840 height=2160 fr=30
            ON VI_PORT_PIXEL_INFO port=2 stmNo=1 portType=16 Width=1920 height=1080 fr=25
            ON VI_PORT_PIXEL_INFO portType=1 Width=3840 height=2160 fr=30
            ON VI_PORT_PIXEL_INFO port=1 portType=2 Width=1280 height=720 fr=60; ON VIDEO_CAPABILITY_UPDATE
            CONTROL_MODE 1 0 width=1280 height=720 fr=60; CONTROL_MODE 1 0 width=1280 height=720 fr=60
            CONTROL_UNPLUG 1 1; CONTROL_PLUG 1 1; ON VO_PORT_DDC_INFO Width=3840 height=2160 fr=60
            ON VO_PORT_DDC_INFO port=1 Width=1920 height=1080 fr=60
            ON VO_PORT_DDC_INFO Width=1280 height=720 fr=60; ON VIDEO_CAPABILITY_UPDATE
            CONTROL_MODE 1 0 !VALUE; CONTROL_MODE 0 0 width=1 height=1 fr=1001 !VALUE
            CONTROL_MODE 0 3 width=1 height=1 fr=1 !NUMBER; CONTROL_UNPLUG 2 0 !VALUE
            GET_VI_PORT 2 = [0]: portType=1 plugged=1 enabled=1 width=3840 height=2160 fr=30 name=CAMERA [1]:
                port=1 portType=2 plugged=1 enabled=1 width=1280 height=720 fr=60 name=PC-IN
            GET_VO_PORT 1 = [0]: plugged=1 enabled=1 width=1280 height=720 fr=60 name=HDMI-OUT-1
            CONTROL_RESET; ON VIDEO_DIE; ON VIDEO_ACTIVATE)");
    EXPECT_EQ(SendRaw(VESK_CONTROL_UNPLUG, 0x100000000, "", 1), uint32_t{VESK_SERVICE_ERR_NUMBER});
    const std::string seen = announced + "102 102 103 102 103 208 101 208 101 100 100 101 206 207 ";
    EXPECT_EQ(Seen(), seen);
    other.ExpectOutput(seen);
}

FORKED_TEST(VideoService, WhatIsOpenGoesOnWhenItsPortIsPluggedInAgain)
{
    Play(
        R"(OPEN_VI_PORT 0 = 1001; VI_START 1001; EXECUT_VI_TRACKING_PARAM 1001; GET_VI_AF_STATUS 1001 = 1
            GET_VI_PT_STATUS 1001 = 1; CONTROL_UNPLUG 0 0; GET_VI_AF_STATUS 1001 = 0; GET_VI_PT_STATUS 1001 = 0
            EXECUT_VI_TRACKING_PARAM 1001 !UNPLUGGED; CAMERA_CONTROL 1001 2 !UNPLUGGED
            ON CAMERA_CTRL_RESULT camCtrlCmd=2 errCode=521
            GET_VI_PORT 1 = [0]: portType=1 enabled=1 inEngNo=1001 started=1 width=3840 height=2160 fr=30
                name=CAMERA; CONTROL_PLUG 0 0; GET_VI_AF_STATUS 1001 = 1; GET_VI_PT_STATUS 1001 = 1
            VI_START 1001 !STATE; CONTROL_UNPLUG 0 0; VI_STOP 1001; VI_START 1001 !UNPLUGGED; CONTROL_PLUG 0 0
            VI_START 1001; OPEN_VO_PORT 1 = 2001; CONTROL_UNPLUG 1 1; VO_START 2001 !UNPLUGGED; CONTROL_PLUG 1 1
            VO_START 2001; CONTROL_UNPLUG 1 1; VO_START 2001 !UNPLUGGED; VO_STOP 2001; VO_DISABLE 1
            VO_START 2001 !DISABLED)");
}

FORKED_TEST(VideoService, FilesAndApplicationsTakeThePlaceOfCables)
{
    const std::string path = directory.File("source");
    const std::string png("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\2\x80\0\0\1\xe0", 24);
    const auto set = [&](const std::string& port, const std::string& content, const std::string& outcome) {
        std::ofstream(path) << content;
        Play("SET_VIRTUAL_VI_PARAM " + port + " text=" + path + outcome);
    };
    Play("GET_VI_PORT 1 = [0]: portType=1 plugged=1 enabled=1 width=3840 height=2160 fr=30 name=CAMERA");
    for (const auto& [content, mode] : {std::pair(png, "width=640 height=480"),
                                        {"YUV4MPEG2 H2 W1 F30000:1001 Ip\nW5", "width=1 height=2 fr=30"},
                                        {"YUV4MPEG2 W16384 H240 F1:9", "width=16384 height=240 fr=1"},
                                        {"YUV4MPEG2 C420 F", "width=3840 height=2160 fr=30"}}) {
        set("0", content, "");
        Play(std::string("GET_VI_PORT 1 = .. [0]: ") + mode);
    }
    for (const char* refused : {"YUV4MPEG2 W640", "YUV4MPEG2 W16385 H1", "YUV4MPEG2 W1 H1 F1001:1"})
        set("0", refused, " !VALUE");
    for (const char* refused : {"source", "/dev/null", "/", "/nothing"})
        Play(std::string("SET_VIRTUAL_VI_PARAM 0 text=") + refused + " !VALUE");
    Play(R"(SET_VIRTUAL_VI_PARAM 0 text=; GET_VI_PORT 1 = .. [0]: width=3840)");
    set("1", "", " !VALUE"); // neither it nor the port has a size
    Play(R"(VI_START # !UNPLUGGED; SET_APP_CAPTURE_PARAM # taskHandle=1 !VALUE
            SET_APP_CAPTURE_PARAM # taskHandle=1 width=640 height=480 fr=1001 !VALUE
            SET_APP_CAPTURE_PARAM # taskHandle=1 width=640 height=480 fr=25; VI_START #; GET_VI_AF_STATUS # = 1)",
         Number(VeskVideoViOpen, 1U));
    set("1", png, "");
    Play("CONTROL_PLUG 0 1 width=1280 height=720 fr=60; SET_VIRTUAL_VI_PARAM 1 text=; CONTROL_UNPLUG 0 1");
    set("1", png, "");
    Play("CONTROL_MODE 0 1 width=9 height=9 fr=9; SET_VIRTUAL_VI_PARAM 1 text=; CONTROL_PLUG 0 1");
    const std::string seen = "102 103 208 103 208 102 102 103 208 103 208 102 208 102 103 ";
    EXPECT_TRUE(Eventually([&] { return Seen().ends_with(seen); })) << Seen();
}

FORKED_TEST(VideoService, AResetLeavesTheDescribedDeviceAndItsClients)
{
    const uint32_t queue = Number(VeskVideoBuffCreateQueue);
    const char* const things =
        R"(OPEN_VI_PORT 0 = 1001; OPEN_VO_PORT 0 = 2001; ENC_CREATE = 3001; DEC_CREATE = 4001; OPEN_MOUSE_PORT 1 = 6001
            OPEN_LOCAL_MOUSE = 7001; SET_LOOP_MODE encNo=3001 decNo=4001 mode=1 = 5001; INIT_UVC; OPEN_UVC_PORT = 0
            CREATE_OVERLAY_CHANNEL_PARAM 1 7)";
    const char* const described =
        R"(GET_PRESET_COUNT = 0; OPEN_UVC_PORT !STATE; SET_ANDROID_MMEDIA_PROJECTION 1 1 !STATE
            GET_VI_PORT 2 = [0]: portType=1 plugged=1 enabled=1 width=3840 height=2160 fr=30 name=CAMERA [1]:
                port=1 portType=2 enabled=1 name=PC-IN
            GET_VO_PORT 1 = [0]: plugged=1 enabled=1 width=3840 height=2160 fr=60 name=HDMI-OUT-1)";
    Play(described);
    for (int round = 0; round < 2; ++round) {
        Play(things);
        Play(
            R"(SET_PRESET 1001 isValid=1 presetId=5; VI_START 1001; SET_DISPLAY_MODE displayMode=2 fps=24
            SET_DEFAULT_IMAGE 0 0 text=/image; SET_SR_ENABLE 1; SET_FILTER_WINDOW 7 1 [0]: x=1
            VI_DISABLE 1; CONTROL_PLUG 0 1 width=640 height=480 fr=30; CONTROL_UNPLUG 1 0
            INIT_ANDROID_OBJECTS 1 0; CONTROL_RESET; ON VIDEO_DIE; ON VIDEO_ACTIVATE; VI_START 1001 !NUMBER
            SET_LOOP_START 5001 1 !NUMBER; ENABLE_OVERLAY_PARAM 7 1 !NUMBER; DESTROY_QUEUE # !NUMBER
            CREATE_QUEUE #; SET_CALLBACK)",
            queue);
        Play(described);
    }
}
