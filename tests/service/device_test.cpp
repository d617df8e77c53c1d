// Other devices than the default one: their files, and what happens to a device while it is used.
#include "base/error.h"
#include "service/device_file.h"
#include "service/service_fixture.h"

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
        {"\n\n[limits]\nencoders = 1025", "4: limits.encoders: expected 0 to 1024, not 1025"},
        {"[limits]\nencoders = '16'", "2: limits.encoders: expected 0 to 1024, not \"16\""},
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
    const std::pair<std::string, std::string> rows[] = {
        {file, file + ":2: limits.mice: expected 0 to 1024, not -1\n"},
        {directory.File("none"), directory.File("none") + ": No such file or directory\n"},
        {directory.path, directory.path + ": Is a directory\n"},
        {"/dev/zero", "/dev/zero: expected at most 1048576 bytes\n"},
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
        R"(GET_VI_COUNT = 6; GET_VO_COUNT = 3; GET_CAPABILITY 0 = 0 6; GET_CAPABILITY 1 = 1 3; GET_CAPABILITY 2 = 2 6
            GET_CAPABILITY 3 = 3 12; ON 100 = 0 @84 1; ON 101 = 0 @100 3840 2160 60; ON 100 = 1 @84 1
            ON 101 = 1 @100 3840 2160 60; ON 100 = 2 @84 0; OPEN_VI_PORT 5 = 1; GET_VI_PORT 6 = 0 1 1 1 @52 3840 2160 60 0 'FRONT-CAMERA
                @324 1 1 1 1 @376 1920 1080 30 0 'BACK-CAMERA @648 2 2 1 1 @700 2560 1440 60 0 'LECTERN
                @972 3 2 0 1 @1040 'TABLE @1296 4 16 1 1 @1348 1280 720 25 0 'HALL-CAMERA-1
                @1620 5 16 1 1 1 @1672 1280 720 25 0 'HALL-CAMERA-2
            GET_ENCODE_CAPABILITY = 6 1 241200 8040 1920 16 1080 16 20000 42 0 0x1010100
            GET_DECODE_CAPABILITY = 12 1 241200 1920 16 1080 16 0x10001 1 1 1 241200 1920 16 1080 16 0x10000 1 1
            OPEN_VO_PORT 2 = 1; VO_START 1 !UNPLUGGED; GET_VO_PARAM 1 = 1920 1080)");
    for (uint32_t i = 1; i <= 6; ++i)
        Play("ENC_CREATE = #; GET_ENC_PARAM # = 0 0 1280 720 30 2000; ENC_START # !STATE; SET_ENC_PARAM # < "
             "0 0 1920 1080 30",
             i);
    Play(
        R"(ENC_CREATE !ROOM; ON 1 = 0; SET_ENC_PARAM 1 < 0 0 1921 1080 30 !VALUE; SET_ENC_PARAM 1 < 0 0 16 16 31 !VALUE
            ENC_START 1; ENC_START 2; ENC_START 3; ON 2 = 3 1; ENC_START 4; ON 2 = 4 1; ENC_START 5 !ROOM; ON 1 = 5
            ENC_START 4 !STATE; ENC_STOP 1; ENC_START 5; ON 2 = 5 1)");
}

FORKED_TEST(Application, WhatHappensToPortsIsToldToEveryClient)
{
    const Child service = StartService();
    const std::string announced = "100 101 100 101 102 103 102 102 103 ";
    const auto join = [] {
        EXPECT_EQ(VeskVideoInit(), 0U);
        Install();
    };
    Child other = Prepared(
        [&] {
            g_name = "other";
            join();
        },
        [] {
            Arrived(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY);
            std::printf("%s", Seen().c_str());
        });
    join();
    EXPECT_TRUE(Eventually([&] { return Seen() == announced; }));
    Play(R"(UNPLUG 0 0; ON 102 = 0 @132 1; ON 102 = 1 @132 0; ON 102 = 2 @132 1; ON 102 = 0 @132 0
            UNPLUG 0 0 !STATE; MODE 0 0 < 640 480 30 !UNPLUGGED; PLUG 0 0 < 16385 480 30 !VALUE
            PLUG 0 0; ON 102 = 0 @132 1; PLUG 0 0 !STATE; PLUG 0 1 !VALUE; PLUG 0 1 < 1280 720 60; ON 102 = 1 @132 1
            ON 103 = 0 @68 0 1 @176 3840 2160 30; ON 103 = 2 @68 1 16 @176 1920 1080 25
            ON 103 = 0 @68 0 1 @176 3840 2160 30; ON 103 = 1 @68 0 2 @176 1280 720 60; ON 208
            MODE 1 0 < 1280 720 60; MODE 1 0 < 1280 720 60; UNPLUG 1 1; PLUG 1 1
            ON 101 = 0 @100 3840 2160 60; ON 101 = 1 @100 1920 1080 60; ON 101 = 0 @100 1280 720 60; ON 208
            MODE 1 0 !VALUE; MODE 0 0 < 1 1 1001 !VALUE; MODE 0 3 < 1 1 1 !NUMBER; UNPLUG 2 0 !VALUE; UNPLUG 1 0x100000000 !NUMBER
            GET_VI_PORT 2 = 0 1 1 1 @52 3840 2160 30 0 'CAMERA @324 1 2 1 1 @376 1280 720 60 0 'PC-IN
            GET_VO_PORT 1 = 0 1 1 @32 1280 720 60 @64 'HDMI-OUT-1; RESET; ON 206; ON 207)");
    const std::string seen = announced + "102 102 103 102 103 208 101 208 101 100 100 101 206 207 ";
    EXPECT_EQ(Seen(), seen);
    other.ExpectOutput(seen);
}

FORKED_TEST(VideoService, WhatIsOpenGoesOnWhenItsPortIsPluggedInAgain)
{
    Play(
        R"(OPEN_VI_PORT 0 = 1; VI_START 1; EXECUT_VI_TRACKING_PARAM 1; GET_VI_AF_STATUS 1 = 1; GET_VI_PT_STATUS 1 = 1
            UNPLUG 0 0; GET_VI_AF_STATUS 1 = 0; GET_VI_PT_STATUS 1 = 0; EXECUT_VI_TRACKING_PARAM 1 !UNPLUGGED
            CAMERA_CONTROL 1 2 !UNPLUGGED; ON 107 = 0 2 0x209; GET_VI_PORT 1 = 0 1 0 1 1 1 @52 3840 2160 30 0 'CAMERA
            PLUG 0 0; GET_VI_AF_STATUS 1 = 1; GET_VI_PT_STATUS 1 = 1; VI_START 1 !STATE
            UNPLUG 0 0; VI_STOP 1; VI_START 1 !UNPLUGGED; PLUG 0 0; VI_START 1
            OPEN_VO_PORT 1 = 1; UNPLUG 1 1; VO_START 1 !UNPLUGGED; PLUG 1 1; VO_START 1; UNPLUG 1 1; VO_START 1 !UNPLUGGED
            VO_STOP 1; VO_DISABLE 1; VO_START 1 !DISABLED)");
}

FORKED_TEST(VideoService, AResetLeavesTheDescribedDeviceAndItsClients)
{
    const uint32_t queue = Number(VeskVideoBuffCreateQueue);
    const char* const things =
        R"(OPEN_VI_PORT 0 = 1; OPEN_VO_PORT 0 = 1; ENC_CREATE = 1; DEC_CREATE = 1; OPEN_MOUSE_PORT 1 = 1
            OPEN_LOCAL_MOUSE = 1; SET_LOOP_MODE < 1 1 1 = 1; INIT_UVC; OPEN_UVC_PORT = 0; CREATE_OVERLAY_CHANNEL_PARAM 1 7)";
    const char* const described =
        R"(GET_PRESET_COUNT = 0; OPEN_UVC_PORT !STATE; SET_ANDROID_MMEDIA_PROJECTION 1 1 !STATE
            GET_VI_PORT 2 = 0 1 1 1 @52 3840 2160 30 0 'CAMERA @324 1 2 0 1 @392 'PC-IN
            GET_VO_PORT 1 = 0 1 1 @32 3840 2160 60 @64 'HDMI-OUT-1)";
    Play(described);
    for (int round = 0; round < 2; ++round) {
        Play(things);
        Play(
            R"(SET_PRESET 1 < 1 5; VI_START 1; SET_DISPLAY_MODE < 2 @16 24; SET_DEFAULT_IMAGE 0 0 < '/image; SET_SR_ENABLE 1
                SET_FILTER_WINDOW 7 1 < 1; VI_DISABLE 1; PLUG 0 1 < 640 480 30; UNPLUG 1 0; INIT_ANDROID_OBJECTS 1 0
                RESET; ON 206; ON 207; VI_START 1 !NUMBER; SET_LOOP_START 1 1 !NUMBER; ENABLE_OVERLAY_PARAM 7 1 !NUMBER
                DESTROY_QUEUE # !NUMBER; CREATE_QUEUE #; SET_CALLBACK)",
            queue);
        Play(described);
    }
}
