// Words that steer the virtual device, and files of them: to messages, back, and what is wrong with them.
#include "base/words.h"
#include "decoder/text.h"
#include "steering/commands.h"
#include "steering/fault.h"
#include "steering/scenario_file.h"
#include "support/error_of.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

using namespace vesk;
using namespace vesk::steering;
using namespace vesk::decoder;

namespace {

const Decoder& Virtual()
{
    static const Decoder s_decoder;
    return s_decoder;
}

Bytes DataOf(const std::string& words)
{
    return ControlMessageOf(Virtual(), SplitWords(words)).data;
}

VeskControlFault FaultOf(const Bytes& data)
{
    VeskControlFault fault;
    EXPECT_EQ(data.size(), sizeof(VeskVideoMsgHead) + sizeof fault);
    std::memcpy(&fault, &data[sizeof(VeskVideoMsgHead)], sizeof fault);
    return fault;
}

/// A scenario's steps, each as "trigger at/nth subject" and the message that it stands for.
std::vector<std::string> StepsOf(const std::string& text)
{
    const Bytes data = ScenarioOf(Virtual(), text, "s").data;
    std::vector<std::string> steps;
    for (size_t at = sizeof(VeskVideoMsgHead); at < data.size();) {
        VeskControlStep step;
        std::memcpy(&step, &data.at(at), sizeof step);
        at += sizeof step;
        const Bytes message(&data.at(at), &data.at(at) + step.dataLen);
        VeskVideoMsgHead head;
        std::memcpy(&head, message.data(), sizeof head);
        const std::string when = step.trigger == VESK_CONTROL_AT_TIME
                                     ? "at " + std::to_string(step.atMs)
                                     : "on " + std::to_string(step.match.number) + " x" +
                                           std::to_string(step.nth) + ' ' + step.match.procName + '/' +
                                           std::to_string(step.match.conditions);
        steps.push_back(when + ": " +
                        Line(Virtual(), Virtual().Decode({Direction::kRequest, head.msgId, message})));
        at += (step.dataLen + 7U) / 8 * 8;
    }
    return steps;
}

} // namespace

TEST(ControlWords, BecomeMessages)
{
    constexpr struct {
        const char* words;
        const char* line;
    } kRows[] = {
        {"plug input 1 --mode 1920x1080@60",
         "CONTROL_PLUG direction=0(INPUT) port=1 width=1920 height=1080 fr=60"},
        {"plug output 0", "CONTROL_PLUG direction=1(OUTPUT) port=0 width=0 height=0 fr=0"},
        {"unplug output 2", "CONTROL_UNPLUG direction=1(OUTPUT) port=2"},
        {"mode input 0 640x480@30", "CONTROL_MODE direction=0(INPUT) port=0 width=640 height=480 fr=30"},
        {"notify VO_PORT_PLUG_STATE port=1 val=2 --to tour",
         R"(CONTROL_NOTIFY procName="tour" notifyId=100 param2=0 param1=0 rest=01(00*83)02000000)"},
        {"notify LOCAL_LOOP_STATE action=3 result=4 --length 2",
         R"(CONTROL_NOTIFY procName="" notifyId=0 param2=4 param1=3)"}, // a rest of zeros
        {"notify 208 --raw 0102 ulParam1=7 --length 1",
         R"(CONTROL_NOTIFY procName="" notifyId=208 param2=0 param1=7 rest=01)"},
        {"fault list", "CONTROL_FAULT_LIST"},
        {"fault clear", "CONTROL_FAULT_CLEAR fault=0"},
        {"fault clear 3", "CONTROL_FAULT_CLEAR fault=3"},
        {"time", "CONTROL_TIME advanceMs=0"},
        {"time 250", "CONTROL_TIME advanceMs=250"},
        {"scenario --end", "CONTROL_SCENARIO"},
        {"reset", "CONTROL_RESET"},
    };
    for (const auto& row : kRows) {
        const ControlMessage message = ControlMessageOf(Virtual(), SplitWords(row.words));
        EXPECT_EQ(Line(Virtual(), Virtual().Decode({Direction::kRequest, message.number, message.data})),
                  row.line);
    }
    EXPECT_EQ(DataOf("notify LOCAL_LOOP_STATE action=3 result=4 --length 2").size(),
              sizeof(VeskVideoMsgHead) + sizeof(VeskControlNotification) + 2);
}

TEST(ControlWords, FaultsAreWhatTheyMatchAndWhatTheyDo)
{
    constexpr struct {
        const char* words;
        uint32_t kind, number;
        const char* conditions; ///< "offset:bytes" of each.
        uint32_t effect, isRelative;
        int64_t value;
        const char* text = nullptr; ///< The words of the rule, if they are others.
    } kRows[] = {
        {"VO_START outEngNo=1 result BUSY", 1, 27, "8:0100000000000000", 1, 0, 0x204},
        {"VeskVideoVoStart result 0x1234", 1, 27, "", 1, 0, 0x1234, "VO_START result 4660"},
        {"CAMERA_CONTROL cmdType=CAM_CTRL_QUERY inEngNo=2 delay 20", 1, 147, "16:10000000 8:0200000000000000",
         2, 0, 20},
        {"CAMERA_CONTROL cmdType=-1 @0=00 delay 20", 1, 147, "16:ffffffff 0:00", 2, 0, 20,
         "CAMERA_CONTROL cmdType=-1 @0=00 delay 20"},
        {"DISPLAY_FIRST_FRAME viPort=-1 portName=HDMI-OUT-1 drop", 2, 106,
         "24:ffffffff 28:48444d492d4f55542d3100", 8, 0, 0},
        {"SET_VO_SRC subPic[2].inputId=3 no-answer", 1, 25, "428:03000000", 3, 0, 0},
        {"QUERY_PRESET presetCount=2 close", 1, 150, "16:02000000", 4, 0, 0},
        {"ADVANCE_QUE_CLIENT_INIT 'text=my app' garbage", 1, 88, "24:6d792061707000", 6, 0, 0},
        {"ENCODER_FREEZE data=0102 length -4", 1, 137, "24:0102", 5, 1, -4},
        {"* length +8", 0, 0xffffffff, "", 5, 1, 8},
        {"* length =24", 0, 0xffffffff, "", 5, 0, 24},
        {"* result OK", 1, 0xffffffff, "", 1, 0, 0},
        {"* ulParam1=5 duplicate", 2, 0xffffffff, "8:0500000000000000", 7, 0, 0},
        {"notification:* die", 2, 0xffffffff, "", 9, 0, 0},
        {"5 delay 1", 0, 5, "", 2, 0, 1},
        {"request:5 delay 1", 1, 5, "", 2, 0, 1, "GET_VI_COUNT delay 1"},
        {"any:27 @8=01 @24=(ff*60) delay 1", 0, 27, "8:01 24:(ff*56) 80:ffffffff", 2, 0, 1,
         "any:27 @8=01 '@24=(ff*56)' @80=ffffffff delay 1"},
        {"request:9999 delay 1", 1, 9999, "", 2, 0, 1},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.words);
        const std::string words = "fault add " + std::string(row.words);
        const VeskControlFault fault = FaultOf(DataOf(words));
        std::string conditions;
        for (size_t i = 0; i < fault.match.conditions; ++i) {
            const VeskControlCondition& condition = fault.match.condition[i];
            conditions += (i == 0 ? "" : " ") + std::to_string(condition.offset) + ':' +
                          FoldedHex(std::as_bytes(std::span(condition.bytes, condition.size)));
        }
        EXPECT_EQ(fault.match.kind, row.kind);
        EXPECT_EQ(fault.match.number, row.number);
        EXPECT_EQ(conditions, row.conditions);
        EXPECT_EQ(fault.effect, row.effect);
        EXPECT_EQ(fault.isRelative, row.isRelative);
        EXPECT_EQ(fault.value, row.value);
        const std::string text = FaultText(Virtual(), fault);
        EXPECT_EQ(text, row.text != nullptr ? row.text : row.words);
        EXPECT_EQ(Hex(DataOf("fault add " + text)), Hex(DataOf(words)));
    }
    const std::string options = "* die --app tour --after 1 --every 2 --count 3 --percent 40 --seed 5";
    EXPECT_EQ(FaultText(Virtual(), FaultOf(DataOf("fault add " + options))), options);
}

TEST(ControlWords, AnyRuleBecomesTextAndEveryFieldOfEveryMessageCanBeMatched)
{
    size_t fields = 0, named = 0;
    const auto match = [&](Direction direction, const auto& message) {
        const Listing listing = Virtual().Describe(direction, message.number);
        const RecordType* record = Virtual().PayloadRecord(listing);
        const size_t size = listing.form->kind == vesk::messages::Kind::kText ? 2 : listing.form->size;
        Bytes data(sizeof(VeskVideoMsgHead) + std::max(size, record != nullptr ? record->size : 0),
                   std::byte{1});
        for (const Field& field : Virtual().Decode({direction, message.number, data}).fields) {
            const uint32_t kind = direction == Direction::kRequest ? 1 : 2;
            VeskControlFault fault{{kind, message.number, "", 1, 0, {}}, 9, 0, 0, 0, 0, 0, 0, 0, 0};
            fault.match.condition[0].offset = static_cast<uint32_t>(field.offset);
            fault.match.condition[0].size = static_cast<uint32_t>(std::min<size_t>(field.size, 56));
            std::memset(fault.match.condition[0].bytes, 1, fault.match.condition[0].size);
            const std::string text = FaultText(Virtual(), fault);
            EXPECT_EQ(Hex(BytesOf(FaultOf(DataOf("fault add " + text)))), Hex(BytesOf(fault))) << text;
            ++fields;
            named += text.find('@') == text.npos;
        }
    };
    for (const auto& request : vesk::messages::kRequests)
        match(Direction::kRequest, request);
    for (const auto& notification : vesk::messages::kNotifications)
        match(Direction::kNotification, notification);
    EXPECT_GT(named, fields * 9 / 10); // not: opaque bytes, and texts that do not end
    VeskControlFault lie;
    std::memset(&lie, 0xff, sizeof lie);
    EXPECT_NE(FaultText(Virtual(), lie).find("effect-4294967295"), std::string::npos);
}

TEST(ControlWords, ThatCannotBeUsedAreRefused)
{
    constexpr struct {
        const char* words;
        const char* error; ///< A part of it.
    } kRows[] = {
        {"", "expected a command"},
        {"plgu input 1", "there is no command 'plgu'; nearest: plug"},
        {"plug inptu 1", "DIRECTION: expected input or output, not 'inptu'"},
        {"plug input", "PORT is required"},
        {"plug input -1", "PORT"},
        {"plug input 1 --mode 1920x1080", "'1920x1080': expected a mode of width, height"},
        {"mode input 1 0x0@0", "expected a mode"},
        {"notify VO_PORT_PLUG_STAT", "nearest: VO_PORT_PLUG_STATE"},
        {"notify CONTROL_ON_MESSAGE", "expected a notification of the interface"},
        {"notify VO_PORT_PLUG_STATE prot=1", "has no field 'prot'; nearest: port"},
        {"notify 208 --length 4194249", "expected at most 4194248 bytes"},
        {"notify 208 --to abcdefghijklmnop", "at most 15 characters"},
        {"fault", "fault: expected add, list or clear"},
        {"fault ad", "there is no command 'fault ad'; nearest: add"},
        {"fault clear 0", "FAULT"},
        {"fault add VO_START", "expected an effect after the match: result CODE, delay MS, no-answer"},
        {"fault add VO_STRAT drop", "no request or notification 'VO_STRAT'; nearest: VO_START"},
        {"fault add request:VO_PORT_PLUG_STATE die", "there is no request 'VO_PORT_PLUG_STATE'"},
        {"fault add CONTROL_PLUG die", "control messages are never matched"},
        {"fault add VO_START outEngNr=1 die", "VO_START has no field 'outEngNr'; nearest: outEngNo"},
        {"fault add VO_START outEngNo=x die", "outEngNo=x: expected a number from 0 to 4294967295"},
        {"fault add VO_START outEngNo=1 outEngNo=2 die", "outEngNo is given twice"},
        {"fault add 5 encStmNo=1 die", "5 is the request GET_VI_COUNT and the notification IFREAME_REQUEST"},
        {"fault add ENCODER_FREEZE 'data=(00*449)' die", "at most 8 conditions"},
        {"fault add ENCODER_FREEZE data= die", "data=: expected the value of one field"},
        {"fault add ENCODER_FREEZE @24= die", "@24=: expected at least one byte"},
        {"fault add * @4194304=00 die", "expected @OFFSET=HEX within 4194304 bytes"},
        {"fault add VO_START drop", "drop is an effect of notifications; VO_START is a request"},
        {"fault add 206 result BUSY", "result is an effect of requests; 206 is a notification"},
        {"fault add EXIT delay 5", "delay is about answers; EXIT is asynchronous and has none"},
        {"fault add VO_START resutl BUSY", "'resutl': there is no such effect; nearest: result"},
        {"fault add VO_START result BSUY", "result BSUY: expected a result code or its name"},
        {"fault add VO_START result", "expected result CODE, not result"},
        {"fault add VO_START die 1", "expected die, not die 1"},
        {"fault add VO_START delay 86400001", "expected milliseconds, 0 to 86400000"},
        {"fault add VO_START length 4", "length 4: expected +N, -N or =N bytes"},
        {"fault add VO_START die --percent 101", "--percent"},
        {"fault add VO_START die --count x", "--count"},
        {"scenario", "expected FILE or --end"},
        {"scenario /nonexistent", "/nonexistent: No such file"},
        {"scenario /", "/: Is a directory"},
    };
    for (const auto& row : kRows) {
        const std::string error = ErrorOf([&] { DataOf(row.words); });
        EXPECT_NE(error.find(row.error), std::string::npos) << row.words << ": " << error;
    }
}

TEST(ScenarioFile, StepsInTheOrderOfTheFile)
{
    EXPECT_EQ(StepsOf(R"([[step]]
at = 2.5
do = "unplug input 0" # a comment

[[step]]
on = "VO_START outEngNo=1"
app = "tour"
nth = 3
do = ["fault add * delay 200 --count 1", "time 3"]
[[step]]
at = 86400
do = "notify VO_PORT_PLUG_STATE --raw 010203"
)"),
              (std::vector<std::string>{
                  "at 2500: CONTROL_UNPLUG direction=0(INPUT) port=0",
                  StepsOf("[[step]]\non = 'VO_START @8=01'\napp = 'tour'\nnth = 3\n"
                          "do = 'fault add * delay 200 --count 1'")[0],
                  "on 27 x3 tour/1: CONTROL_TIME advanceMs=3",
                  R"(at 86400000: CONTROL_NOTIFY procName="" notifyId=100 param2=0 param1=0 rest=010203)"}));
}

TEST(ScenarioFile, Examples)
{
    size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VESK_SCENARIOS_PATH)) {
        EXPECT_EQ(ErrorOf([&] { ScenarioFromFile(Virtual(), entry.path()); }), "no error");
        ++files;
    }
    EXPECT_GT(files, 0U);
}

TEST(ScenarioFile, OneThatIsWrongSaysWhere)
{
    const std::string step = "[[step]]\n";
    const struct {
        std::string text;
        const char* error;
    } rows[] = {
        {"", "s:1: step: missing; expected steps, each of which begins with [[step]]"},
        {"step = 1", "s:1: step: expected an array, not 1"},
        {"step = []", "s:1: step: expected steps, each of which begins with [[step]], not an array"},
        {step + "at = 1\nat = 2", "s:3: "},
        {step + "at = 1\ndo = 'reset", "s:3: "},
        {step + "at = 0\ndo = 'fault list'\n[setp]", "s:4: setp: unknown key; expected step"},
        {step + "ta = 0\ndo = 'fault list'",
         "s:2: step[0].ta: unknown key; expected one of at, on, app, nth, do"},
        {step + "do = 'fault list'", "s:1: step[0]: expected either at or on"},
        {step + "at = 0\non = '*'\ndo = 'fault list'", "s:1: step[0]: expected either at or on"},
        {step + "at = 0\n", "s:1: step[0].do: missing; expected a line of words, or an array of them"},
        {step + "at = 0\ndo = 'time'\n\n" + step + "do = 'time'\nat = \"x\"",
         R"(s:7: step[1].at: expected seconds, 0 to 86400, not "x")"},
        {step + "at = -0.5\ndo = 'time'", "s:2: step[0].at: expected seconds, 0 to 86400, not -0.5"},
        {step + "at = nan\ndo = 'time'", "s:2: step[0].at: expected seconds, 0 to 86400, not nan"},
        {step + "at = 1979-05-27\ndo = 'time'",
         "s:2: step[0].at: expected seconds, 0 to 86400, not 1979-05-27"},
        {step + "at = 0\nnth = 1\ndo = 'time'", "s:3: step[0].nth: belongs to on, not to at"},
        {step + "on = '*'\nnth = 0\ndo = 'time'", "s:3: step[0].nth: expected 1 to 4294967295, not 0"},
        {step + "on = '*'\napp = [1]\ndo = 'time'",
         "s:3: step[0].app: expected an application's name, not an array"},
        {step + "on = 'VO_STRAT'\ndo = 'time'",
         "s:2: step[0].on: there is no request or notification 'VO_STRAT'; nearest: VO_START"},
        {step + "at = 0\ndo = [\n'time',\n'plug input']", "s:5: step[0].do[1]: PORT is required"},
        {step + "at = 0\ndo = \"time 'x\"", "s:3: step[0].do: a quote ' is not closed"},
        {step + "at = 0\ndo = []", "s:3: step[0].do: expected at least one line of words, not an array"},
        {step + "at = 0\ndo = true",
         R"(s:3: step[0].do: expected a line of words, such as "unplug input 0", not true)"},
        {step + "at = 0\ndo = 'reset'", "s:3: step[0].do: a scenario cannot contain 'reset'"},
        {step + "at = 0\ndo = 'plug input 1 --help'", "s:3: step[0].do: there is no option '--help'"},
        {"x = 1\n" + step + "at = true\nta = 1\ndo = ['unplgu input 0', 'time']\n" + step + "at = 1",
         "s:1: x: unknown key; expected step\n"
         "s:4: step[0].ta: unknown key; expected one of at, on, app, nth, do\n"
         "s:3: step[0].at: expected seconds, 0 to 86400, not true\n"
         "s:5: step[0].do[0]: there is no command 'unplgu'; nearest: unplug\n"
         "s:6: step[1].do: missing; expected a line of words, or an array of them"},
    };
    for (const auto& row : rows) {
        const std::string error = ErrorOf([&] { StepsOf(row.text); });
        EXPECT_TRUE(error.starts_with(row.error)) << row.text << "\n: " << error;
    }
    std::string many = step + "at = 0\ndo = [";
    for (int i = 0; i < VESK_CONTROL_MAX_STEPS; ++i)
        many += "'time',\n";
    EXPECT_EQ(ErrorOf([&] { StepsOf(many + "'time']"); }),
              "s:4099: step[0].do[4096]: a scenario has at most 4096 steps");
    const std::string large =
        step + "at = 0\ndo = ['notify 208 --length 4000000','notify 208 --length 300000']";
    EXPECT_NE(ErrorOf([&] { StepsOf(large); }).find("s:3: step[0].do[1]: up to here, the scenario has more"),
              std::string::npos);
}
