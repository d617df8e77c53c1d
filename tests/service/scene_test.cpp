// What displays show, and the notifications of what comes to them and goes.
#include "service/scene.h"

#include "service/service.h"
#include "service/service_fixture.h"

#include <random>
#include <sstream>

using namespace vesk::service;

namespace {

/// Two cameras, a decoder and two displays that all run; the first of each has 3840x2160
/// pixels, the second 1920x1080.
constexpr char kRunning[] = "OPEN_VI_PORT 0; OPEN_VI_PORT 2; VI_START 1001; VI_START 1002; DEC_CREATE; "
                            "SET_DEC_PARAM 4001 w=1280 h=720; "
                            "DEC_START 4001; OPEN_VO_PORT 0; OPEN_VO_PORT 1; VO_START 2001; VO_START 2002; ";

constexpr char kInputAlone[] = "SET_VO_SRC 2001 picNum=1 subPic[0]: inputId=1001";
constexpr char kDecoderAlone[] = "SET_VO_SRC 2001 picNum=1 subPic[0]: decFlag=1 inputId=4001";

void Execute(Service& service, const std::string& script)
{
    std::istringstream statements(script);
    for (std::string statement; std::getline(statements >> std::ws, statement, ';');) {
        const bool isDecoder = statement.starts_with("DECODER");
        if (isDecoder || statement.starts_with("INPUT"))
            statement.replace(0, isDecoder ? 7 : 5, isDecoder ? kDecoderAlone : kInputAlone);
        const auto [number, data] = RequestOf(statement);
        EXPECT_EQ(service.Execute(number, data), kOk) << statement;
    }
}

std::string Text(const VeskServiceRect& rect)
{
    return std::to_string(rect.width) + 'x' + std::to_string(rect.height) + '+' + std::to_string(rect.x) +
           '+' + std::to_string(rect.y);
}

/// Its layers, such as "input 1001 live 1920x2160+0+0 of 3840x2160+0+0".
std::string Text(const Scene& scene)
{
    std::string text = scene.showing != Showing::kLive ? WordOf(scene.showing) : "";
    for (const Layer& layer : scene.layers) {
        text += std::string(text.empty() ? "" : "; ") + WordOf(layer.source) + ' ' +
                std::to_string(layer.number) + ' ' + WordOf(layer.showing) + ' ' + Text(layer.place.rect);
        if (layer.size.IsKnown())
            text += " of " + Text(layer.place.part);
        if (layer.opacity != 100)
            text += ' ' + std::to_string(layer.opacity) + '%';
    }
    return text;
}

/// What its last layer decodes; empty if it is no decoder that is there.
std::string DecodedText(const Scene& scene)
{
    const auto& decoded = scene.layers.back().decoded;
    if (!decoded)
        return {};
    std::string text = "codec " + std::to_string(decoded->codec) + ", " + std::to_string(decoded->frames) +
                       " frames at " + std::to_string(decoded->fr);
    if (decoded->encStmNo)
        text += " from " + std::to_string(*decoded->encStmNo);
    if (const auto& input = decoded->input) {
        text += " of " + std::to_string(input->inEngNo) + " on " + std::to_string(input->viPort);
        for (const std::string& word : {input->name, input->application, input->file})
            text += word.empty() ? "" : ' ' + word;
        text += std::string(" ") + WordOf(input->showing);
        if (input->showing == Showing::kFrozen)
            text += " since " + std::to_string(input->frozenAtMs);
        text += ' ' + Text(input->part) + " at " + std::to_string(input->fr);
    }
    return text;
}

constexpr char kKill[] = "another application is killed";

/// What has been notified of links so far, such as "106 0 CAMERA 2001; ".
std::string LinksTold()
{
    std::string text;
    std::map<std::string, size_t> read;
    std::istringstream numbers(Seen());
    for (std::string number; numbers >> number;) {
        if (number != "106" && number != "108")
            continue;
        const size_t nth = read[number]++;
        VeskServiceDisplayLink link;
        std::memcpy(&link, Arrived(static_cast<uint32_t>(std::stoul(number)), nth + 1)[nth].data(),
                    sizeof link);
        text += number +
                (link.isDec != 0 ? " decoder " + std::to_string(link.decStmNo)
                                 : ' ' + std::to_string(link.viPort)) +
                ' ' + link.portName + ' ' + std::to_string(link.surfaceId) + "; ";
    }
    return text;
}

} // namespace

TEST(Scene, LayersLieWhereRequestsPutThem)
{
    // Requests -> the number of a display, and its layers. INPUT and DECODER show this alone on the first
    // one.
    std::istringstream rows(R"(
    SET_VO_SRC 2001 picNum=3 subPic[0]: inputId=1001 subPic[1]: inputId=1002 subPic[2]: decFlag=1 inputId=4001 -> 0
        input 1001 live 1920x1080+0+0 of 3840x2160+0+0; input 1002 live 1920x1080+1920+0 of 1920x1080+0+0; decoder 4001
        live 1920x1080+0+1080 of 1280x720+0+0 |
    SET_VO_SRC 2001 picNum=2 subPic[0]: inputId=1001 layer=1 opacity=50 subPic[1]: inputId=1002 window.x=5 window.y=-5
        window.width=10 window.height=10 basWidth=10 basHeight=10 -> 0 input 1002 live 1920x1080+1920+0 of
        960x540+0+540; input 1001 live 3840x2160+0+0 of 3840x2160+0+0 50% |
    INPUT window.x=-40 window.width=80 window.height=60 mirror=1 -> 0 input 1001 live 40x60+0+0 of 1920x2160+0+0 |
    INPUT window.y=-20 window.width=80 window.height=60 mirror=2 -> 0 input 1001 live 80x40+0+0 of 3840x1440+0+0 |
    INPUT showMode=1 crop.x=100 crop.width=1000 crop.height=2160 -> 0 input 1001 live 1000x2160+1420+0 of
        1000x2160+100+0 |
    DECODER showMode=2 window.width=720 window.height=720 -> 0 decoder 4001 live 720x720+0+0 of 720x720+280+0 |
    DECODER showMode=3 -> 0 decoder 4001 live 1280x720+1280+720 of 1280x720+0+0 |
    INPUT; SET_VI_CUTOUT_PARAM 0 crop.x=1920 crop.width=1920 crop.height=1080; SET_VI_PTZF_PARAM 0 zoom=200 pan=-5;
        CAMERA_CONTROL 1001 3 -> 0 input 1001 live 3840x2160+0+0 of 960x540+1200+243 |
    INPUT crop.x=3830 crop.y=2150 crop.width=10 crop.height=10; SET_VI_PTZF_PARAM 0 zoom=10000 -> 0 input 1001 live
        3840x2160+0+0 of 1x1+1938+1090 |
    INPUT; SET_VI_CUTOUT_PARAM 0 crop.x=3840 crop.width=1 crop.height=1 -> 0 input 1001 outside 3840x2160+0+0 of
        0x0+0+0 |
    INPUT; SET_SCREEN_OFFSET 2001 xOffset=-3839 yOffset=2000 -> 0 input 1001 live 1x160+0+2000 of 1x160+3839+0 |
    INPUT showMode=2 window.x=1073741823 window.y=1073741823 window.width=1 window.height=1; SET_SCREEN_OFFSET 2001
        xOffset=2147483647 yOffset=2147483647 -> 0 input 1001 outside 0x0+3840+2160 of 0x0+0+0 |
    INPUT window.x=-1073741824 window.y=-1 window.width=2147483647 window.height=2 basWidth=1 basHeight=1 -> 0 input
        1001 live 3840x2160+0+0 of 1x1080+1920+1080 |
    DECODER window.width=1280 window.height=720 mirror=1 opacity=70; OPEN_MOUSE_PORT 1; MOUSE_CONNECT 6001 4001;
        SET_REMOTE_MOUSE_BACKGRAND_AREA 6001 x=-10 y=50 width=20 height=20; MOUSE_START 6001 -> 0 decoder 4001 live
        1280x720+0+0 of 1280x720+0+0 70%; remote pointer 6001 live 10x20+1270+50 70% |
    SET_VO_SRC 2001 picNum=2 subPic[0]: decFlag=1 inputId=4001 subPic[1]: inputId=1001 layer=1 window.width=3840
        window.height=2160; OPEN_MOUSE_PORT 1; MOUSE_CONNECT 6001 4001; MOUSE_START 6001 -> 0 decoder 4001 covered
        3840x2160+0+0 of 1280x720+0+0; remote pointer 6001 covered 96x96+1920+1080; input 1001 live 3840x2160+0+0 of
        3840x2160+0+0 |
    OPEN_LOCAL_MOUSE; SET_LOCAL_MOUSE_PARAM 7001 x=-10 y=2150; START_LOCAL_MOUSE 7001; LOCAL_MOUSE_SHOW_ENABLE 7001 1;
        CREATE_OVERLAY_CHANNEL_PARAM 1 7; SET_OVERLAY_PARAM 7 layer=-1 opacity=20; CREATE_OVERLAY_CHANNEL_PARAM 1 3;
        SET_OVERLAY_PARAM 3 window.x=1 window.width=2 window.height=3; ENABLE_OVERLAY_PARAM 7 1 -> 0 overlay 7 live
        3840x2160+0+0 20%; overlay 3 disabled 2x3+1+0; local pointer 7001 live 22x10+0+2150 |
    INPUT window.width=10 window.height=10; SET_FILTER_WINDOW 0 1 [0]: width=15 height=15; SET_FILTER_WINDOW 1 1 [0]:
        width=15 height=15 -> 0 input 1001 covered 10x10+0+0 of 3840x2160+0+0; filter window 0 live 15x15+0+0 |
    INPUT; ENCODER_FREEZE 1001 1 data=; SET_DEFAULT_IMAGE 0 0 text=/image; SET_WALLPAPER_INFO path=/sea -> 0 wallpaper
        0 covered 3840x2160+0+0; input 1001 frozen 3840x2160+0+0 of 3840x2160+0+0 |
    DECODER; DEC_STOP 4001; SET_DEFAULT_IMAGE 0 0 text=/image -> 0 default image 0 live 3840x2160+0+0; decoder 4001
        stopped 3840x2160+0+0 of 1280x720+0+0 |
    INPUT window.x=960 window.width=1920 window.height=1080; SET_DISPLAY_MODE displayMode=1 -> 1 input 1001 live
        960x540+480+0 of 3840x2160+0+0 |
    SET_DISPLAY_MODE displayMode=2 -> 1 disabled |
    VO_CLOSE 2002 -> 1 closed |
    INPUT; VO_STOP 2001; VI_DISABLE 0 -> 0 stopped; input 1001 disabled 3840x2160+0+0 of 3840x2160+0+0 |
    OPEN_VI_PORT 1; SET_VO_SRC 2001 picNum=1 subPic[0].inputId=1003; CONTROL_UNPLUG 1 0 -> 0 unplugged; input 1003
        unplugged 3840x2160+0+0 |
    INPUT; CLOSE_VI_PORT 1001 -> 0 input 1001 closed 3840x2160+0+0 |)");
    for (std::string row; std::getline(rows >> std::ws, row, '|');) {
        const size_t arrow = row.find("->");
        std::istringstream outcome(row.substr(arrow + 2));
        uint32_t display = 0;
        std::string layers, word;
        outcome >> display >> layers;
        while (outcome >> word)
            layers += ' ' + word;
        Service service({"VIDEO", "VCTL"});
        Execute(service, kRunning + row.substr(0, arrow));
        EXPECT_EQ(Text(SceneOf(service, *service.outputs.Find(display))), layers) << row;
    }
}

// Each row follows the one before. The snapshot keeps what there was when it was taken.
TEST(Scene, DecodersShowWhatALoopBrings)
{
    Service service({"VIDEO", "VCTL"}, DefaultDevice(), {.isStep = true});
    const struct {
        const char *requests, *decoded;
    } rows[] = {
        {"DECODER; SET_DEC_PARAM 4001 codecType=1 w=640 h=360; ENC_CREATE; SET_ENC_PARAM 3001 w=640 h=360 "
         "fr=25; "
         "SET_LOOP_MODE encNo=3001 decNo=4001; ENC_START 3001; SET_VI_CONNECT 1002 3001; CONTROL_TIME 2000",
         "codec 1, 0 frames at 0"},
        {"SET_LOOP_START 5001 1; SET_VI_PTZF_PARAM 2 zoom=200; CONTROL_TIME 2000",
         "codec 1, 50 frames at 25 from 3001 of 1002 on 2 NET-CAMERA live 960x540+480+270 at 25"},
        {"ENCODER_FREEZE 1002 1 data=; CONTROL_TIME 1000; GET_SNAPSHOT 0 0 voPort=0 path=/a",
         "codec 1, 75 frames at 25 from 3001 of 1002 on 2 NET-CAMERA frozen since 4000 960x540+480+270 at "
         "25"},
        {"SET_APP_CAPTURE_PARAM 1002 taskHandle=1 name=slides width=64 height=48 fr=15; VI_STOP 1002",
         "codec 1, 75 frames at 25 from 3001 of 1002 on 2 NET-CAMERA slides stopped 64x48+0+0 at 15"},
        {"SET_VI_CONNECT 1001 3001; SET_VIRTUAL_VI_PARAM 0 text=/proc/version",
         "codec 1, 75 frames at 25 from 3001 of 1001 on 0 CAMERA /proc/version live 3840x2160+0+0 at 30"},
        {"CLOSE_VI_PORT 1001; CLOSE_VI_PORT 1002", "codec 1, 75 frames at 25 from 3001"},
        {"DEC_STOP 4001", "codec 1, 75 frames at 0"},
        {"DEC_START 4001; ENC_DELETE 3001; CONTROL_TIME 1000", "codec 1, 75 frames at 0"},
        {"DEC_DELETE 4001", ""},
    };
    Execute(service, kRunning);
    for (const auto& row : rows) {
        Execute(service, row.requests);
        EXPECT_EQ(DecodedText(SceneOf(service, *service.outputs.Find(0))), row.decoded) << row.requests;
    }
    EXPECT_EQ(DecodedText(service.device.Snapshots().back().scene), rows[2].decoded);
}

// Whatever records say, what is seen lies on the display, and comes from the source.
TEST(Scene, LayersStayWithinDisplayAndSource)
{
    std::mt19937 random(1);
    const auto below = [&](uint32_t bound) { return static_cast<int32_t>(random() % bound); };
    const auto any = [&] {
        const int32_t numbers[] = {INT32_MIN, INT32_MAX,          1 - (1 << 30),
                                   below(9),  below(9000) - 4500, static_cast<int32_t>(random())};
        return numbers[random() % std::size(numbers)];
    };
    const auto side = [&](int32_t most) { return static_cast<uint32_t>(std::clamp(any(), 1, most)); };
    const auto rect = [&] {
        const auto length = [&] { return static_cast<int32_t>(side(INT32_MAX)); };
        return random() % 4 == 0 ? VeskServiceRect{} : VeskServiceRect{any(), any(), length(), length()};
    };
    Service service({"VIDEO", "VCTL"});
    Execute(service, std::string(kRunning) + "OPEN_MOUSE_PORT 1; MOUSE_CONNECT 6001 4001; MOUSE_START 6001");
    Display& display = *service.outputs.Find(0);
    InputPort& port = *service.inputs.Find(0);
    OutputEngine& engine = *service.outputs.engines.Find(2001);
    DecoderChannel& decoder = *service.codecs.decoders.Find(4001);
    for (int round = 0; round < 5000; ++round) {
        display.mode = {side(kMaxPixels), side(kMaxPixels), 1};
        port.mode = {side(kMaxPixels), side(kMaxPixels), 1};
        decoder.param.w = side(kMaxPixels);
        decoder.param.h = side(kMaxPixels);
        engine.offset = {any(), any()};
        const VeskServiceEptz eptz{rect()};
        const VeskServicePtzf ptzf{any(), any(), static_cast<uint32_t>(100 + below(9901)), 0};
        std::memcpy(&port.eptz, &eptz, sizeof eptz);
        std::memcpy(&port.ptzf, &ptzf, sizeof ptzf);
        port.camera = {below(21) - 10, below(21) - 10, 0};
        service.mice.remote.Find(6001)->area = std::bit_cast<VeskVideoMouseArea>(rect());
        VeskVideoVoMultiPicParam source{.picNum = 4};
        for (VeskVideoSubPicParam& picture : std::span(source.subPic, source.picNum)) {
            VeskServiceSubPic set{.window = rect(), .layer = any(), .crop = rect()};
            set.decFlag = static_cast<uint8_t>(below(2));
            set.inputId = set.decFlag != 0 ? 4001 : 1001;
            set.mirror = static_cast<uint8_t>(below(4));
            set.showMode = static_cast<uint32_t>(below(5));
            set.basWidth = static_cast<uint32_t>(any());
            set.basHeight = static_cast<uint32_t>(any());
            picture = std::bit_cast<VeskVideoSubPicParam>(set);
        }
        ASSERT_EQ(service.outputs.SetSource(engine, source), kOk);
        const Scene scene = SceneOf(service, display);
        for (const Layer& layer : scene.layers) {
            const auto& [window, shown, part] = layer.place;
            ASSERT_TRUE(IsEmpty(shown) || (Contains(RectOf(scene.canvas), shown) && Contains(window, shown)))
                << Text(scene);
            ASSERT_TRUE(Contains(RectOf(layer.size), part)) << Text(scene);
            ASSERT_FALSE(layer.Appears() && (IsEmpty(shown) || (layer.IsPicture() && IsEmpty(part))))
                << Text(scene);
        }
    }
}

// Each row follows the one before.
FORKED_TEST(Application, WhatComesToADisplayAndGoesIsNotified)
{
    const Child service = StartService();
    Child other = Prepared([] {
        g_name = "other";
        Play("OPEN_VI_PORT 2 = 1001; VI_START 1001");
    });
    Join();
    Play("OPEN_VI_PORT 0 = 1002; DEC_CREATE = 4001; SET_DEC_PARAM 4001 w=16 h=16; OPEN_VO_PORT 0 = 2001; "
         "OPEN_VO_PORT 1 = 2002; VO_START 2001; VO_START 2002");
    const struct {
        const char *statements, *links;
    } rows[] = {
        {"SET_VO_SRC 2001 picNum=2 subPic[0]: inputId=1001 winHandle=1 subPic[1]: inputId=1001 winHandle=2",
         "106 2 NET-CAMERA 2001; "},
        {"VO_WINDOW_DESTROY 2 2001; ENCODER_FREEZE 1001 1 data=; SET_VI_PTZF_PARAM 2 zoom=200", ""},
        {"SET_DISPLAY_MODE displayMode=1", "106 2 NET-CAMERA 2002; "},
        {"CONTROL_UNPLUG 1 0", "108 2 NET-CAMERA 2001; "},
        {"SET_DISPLAY_MODE displayMode=2; CONTROL_PLUG 1 0",
         "108 2 NET-CAMERA 2002; 106 2 NET-CAMERA 2001; "},
        {"SET_VO_SRC 2001 picNum=2 subPic[0]: inputId=1001 subPic[1]: inputId=1002; SET_DISPLAY_MODE "
         "displayMode=0",
         ""},
        {"VI_START 1002", "106 0 CAMERA 2001; "},
        {kKill, "108 2 NET-CAMERA 2001; "},
        {"CONTROL_UNPLUG 0 0", "108 0 CAMERA 2001; "},
        {"SET_DEFAULT_IMAGE 0 0 text=/image", "106 -1 HDMI-OUT-1 2001; "},
        {"CONTROL_PLUG 0 0", "108 -1 HDMI-OUT-1 2001; 106 0 CAMERA 2001; "},
        {"VO_STOP 2001; VO_START 2001", "108 0 CAMERA 2001; 106 0 CAMERA 2001; "},
        {"SET_VO_SRC 2001 picNum=1 subPic[0]: decFlag=1 inputId=4001",
         "108 0 CAMERA 2001; 106 -1 HDMI-OUT-1 2001; "},
        {"DEC_START 4001", "108 -1 HDMI-OUT-1 2001; 106 decoder 4001 HDMI-OUT-1 2001; "},
        {"DEC_DELETE 4001; SET_VO_SRC 2001 picNum=1 subPic[0]: inputId=1002; CLOSE_VI_PORT 1002",
         "108 decoder 4001 HDMI-OUT-1 2001; 106 -1 HDMI-OUT-1 2001; 108 -1 HDMI-OUT-1 2001; "
         "106 0 CAMERA 2001; 108 0 CAMERA 2001; 106 -1 HDMI-OUT-1 2001; "},
        {"VO_DISABLE 0", "108 -1 HDMI-OUT-1 2001; "},
    };
    size_t told = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.statements);
        const size_t before = LinksTold().size();
        if (row.statements == kKill) {
            other.Wait(SIGKILL);
            EXPECT_TRUE(Eventually([&] { return LinksTold().size() > before; }));
        } else {
            Play(row.statements);
        }
        Play("SET_ANNOTATION_STATUS 1 2 7");
        Arrived(VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY, ++told); // after all others
        EXPECT_EQ(LinksTold().substr(before), row.links);
    }
}
