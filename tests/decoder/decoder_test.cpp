// Messages to fields and back, whatever their length and contents.
#include "decoder/filter.h"
#include "decoder/identity.h"
#include "decoder/text.h"
#include "support/error_of.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <sstream>

using namespace vesk;
using namespace vesk::decoder;
using enum Direction;

namespace {

const Decoder& Virtual()
{
    static const Decoder s_decoder;
    return s_decoder;
}

/// "a=1 b=2"
std::vector<Assignment> Assignments(const std::string& text)
{
    std::istringstream words(text);
    std::vector<Assignment> assignments;
    for (std::string word; words >> word;)
        assignments.push_back(ParseAssignment(word));
    return assignments;
}

/// Calls @p body for every message that is known, in each direction.
void ForEachListed(const std::function<void(const Listing&)>& body)
{
    for (const std::string_view name : RequestNames()) {
        if (name.starts_with("VeskVideo")) // a function: the request has been met
            continue;
        body(Virtual().Describe(kRequest, RequestNamed(name).number));
        body(Virtual().Describe(kAnswer, RequestNamed(name).number));
    }
    for (const std::string_view name : NotificationNames())
        body(Virtual().Describe(kNotification, NotificationNamed(name).number));
}

/// A message whose payload is as long as the list wants it, three entries of an array, filled with letters.
Bytes Filled(const Listing& listing)
{
    using vesk::messages::Kind;
    const auto& form = *listing.form;
    const RecordType* record = Virtual().PayloadRecord(listing);
    size_t size = form.kind == Kind::kArray ? 3 * form.size : form.size;
    if (form.kind == Kind::kBytes)
        size = record != nullptr ? record->size : 5;
    Bytes data(sizeof(VeskVideoMsgHead) + size);
    for (size_t i = sizeof(VeskVideoMsgHead); i < data.size(); ++i)
        data[i] = static_cast<std::byte>('A' + i % 26);
    if (form.kind == Kind::kText)
        data.back() = std::byte{0};
    VeskVideoMsgHead head{0, static_cast<uint16_t>(listing.number), 0x1234, 0x7654321, 0x12345678, 0};
    if (form.kind == Kind::kArray)
        head.ulParam1 = head.ulParam2 = 3;
    std::memcpy(data.data(), &head, sizeof head);
    return data;
}

} // namespace

TEST(Decoder, EveryMessageRoundTrips)
{
    ForEachListed([](const Listing& listing) {
        SCOPED_TRACE(listing.fullName);
        const Bytes data = Filled(listing);
        const Decoded decoded = Virtual().Decode({listing.direction, listing.number, data});
        EXPECT_EQ(decoded.problem, "");
        EXPECT_EQ(decoded.name, ShortName(listing.fullName));
        const std::vector<Assignment> fields = AssignmentsOf(Dump(ToJson(decoded)), "");
        EXPECT_EQ(Hex(Virtual().Encode(listing.direction, listing.number, fields)), Hex(data));
        if (listing.form->kind == messages::Kind::kText || listing.direction == Direction::kAnswer)
            return;
        Bytes zeros = data; // whose padding JSON leaves out
        std::fill(zeros.begin() + sizeof(VeskVideoMsgHead), zeros.end(), std::byte{0});
        const std::string json = Dump(ToJson(Virtual().Decode({listing.direction, listing.number, zeros})));
        EXPECT_EQ(Hex(Virtual().Encode(listing.direction, listing.number, AssignmentsOf(json, ""))),
                  Hex(zeros));
        EXPECT_TRUE(listing.form->kind == messages::Kind::kBytes || json.find(":\"00") == json.npos) << json;
    });
}

TEST(Decoder, NeverReadsPastALengthAndLosesNothing)
{
    ForEachListed([](const Listing& listing) {
        Bytes whole = Filled(listing);
        whole.resize(whole.size() + 9, std::byte{'x'});
        for (size_t length = 0; length < whole.size();
             length += length < 200 || length + 40 > whole.size() ? 1 : 61) {
            const std::unique_ptr<std::byte[]> exact(new std::byte[length]); // the sanitizer guards its end
            std::copy_n(whole.begin(), length, exact.get());
            const Decoded decoded =
                Virtual().Decode({listing.direction, listing.number, {exact.get(), length}});
            size_t payload = std::min(length, sizeof(VeskVideoMsgHead));
            for (const Field& field : decoded.fields) {
                ASSERT_LE(field.offset + field.size, length) << listing.fullName << ' ' << field.path;
                if (field.IsPayload())
                    payload += field.size;
            }
            ASSERT_EQ(payload, length) << listing.fullName;
            ASSERT_FALSE(Line(Virtual(), decoded).empty());
        }
    });
}

TEST(Decoder, Lines)
{
    constexpr struct {
        Direction direction;
        uint32_t number;
        const char* fields;
        const char* line;
    } kRows[] = {
        {kRequest, 27, "outEngNo=1", "VO_START outEngNo=1"},
        {kAnswer, 20, "outEngNo=3", "OK outEngNo=3"},
        {kAnswer, 10, "queHandle=32", "OK queHandle=0x20"},
        {kAnswer, 20, "result=BUSY", "BUSY (0x204)"},
        {kAnswer, 20, "result=0x1234", "0x1234"},
        {kNotification, 106, "viPort=-1 portName=HDMI-OUT-1 decStmNo=1",
         "106 DISPLAY_FIRST_FRAME viPort=-1 portName=\"HDMI-OUT-1\" isDec=0 surfaceId=0 "
         "decStmNo=1"},
        {kNotification, 5, "encStmNo=5000000000", "5 IFREAME_REQUEST encStmNo=5000000000"},
        {kRequest, 39, "encStmNo=1 lossRate=0.1", "SET_ENC_FEC_PARAM encStmNo=1 lossRate=0.1 constLostNum=0"},
        {kRequest, 147, "inEngNo=1 cmdType=CAM_LEFT", "CAMERA_CONTROL inEngNo=1 cmdType=1(CAM_LEFT)"},
        {kRequest, 0x4005, "match.kind=OF_REQUEST effect=EFFECT_DELAY",
         "CONTROL_FAULT_ADD match.kind=1(OF_REQUEST) match.number=0 match.procName=\"\" match.conditions=0 "
         "match.condition[0..7]=0 effect=2(EFFECT_DELAY) isRelative=0 value=0 after=0 every=0 count=0 "
         "percent=0 "
         "seed=0"},
        {kRequest, 161, "resultCode=-1 projectionData=255",
         "SET_ANDROID_MMEDIA_PROJECTION resultCode=-1 projectionData=0xff"},
        {kRequest, 144, "filterParam=1 [1].height=1",
         "SET_FILTER_WINDOW filterParam=1 windowCount=2 [0]=0 [1].x=0 [1].y=0 [1].width=0 [1].height=1"},
        {kRequest, 157, "overlayChn=1 window.y=-2 flag0=25 reserved=ff(00*20)01",
         "SET_OVERLAY_PARAM overlayChn=1 flag0=25 flag1=0 flag2=0 window.x=0 window.y=-2 window.width=0 "
         "window.height=0 layer=0 opacity=0 display=0 showMode=0 reserved=ff(00*20)01(00*258) picture=\"\""},
        {kRequest, 25, "outEngNo=1 picNum=1 subPics[24].winHandle=4660",
         "SET_VO_SRC outEngNo=1 picNum=1 subPic[0..23]=0 subPic[24].window.x=0 subPic[24].window.y=0 "
         "subPic[24].window.width=0 subPic[24].window.height=0 subPic[24].layer=0 subPic[24].opacity=0 "
         "subPic[24].decFlag=0 subPic[24].inputId=0 "
         "subPic[24].sufaceFlag=0 subPic[24].winHandle=0x1234 subPic[24].colorSpace=0 subPic[24].mirror=0 "
         "subPic[24].showMode=0 subPic[24].basWidth=0 subPic[24].basHeight=0 subPic[24].crop.x=0 "
         "subPic[24].crop.y=0 "
         "subPic[24].crop.width=0 subPic[24].crop.height=0"},
    };
    for (const auto& row : kRows) {
        const Bytes data = Virtual().Encode(row.direction, row.number, Assignments(row.fields));
        EXPECT_EQ(Line(Virtual(), Virtual().Decode({row.direction, row.number, data})), row.line);
    }
    const Bytes short10 = Virtual().EncodeRaw(kRequest, 22, {{"ulParam2", "5"}}, Bytes(10));
    EXPECT_EQ(Line(Virtual(), Virtual().Decode({kRequest, 22, short10})),
              "SET_VO_PARAM outEngNo=0 ulParam2=5 param0=0 param1=0 param2=0000 (the payload has 10 bytes "
              "instead of 36)");
    EXPECT_EQ(Line(Virtual(), Virtual().Decode({kRequest, 999, short10})),
              "999 ulParam2=5 data=(00*10) (the number is not listed)");
}

TEST(Decoder, RefusedValues)
{
    constexpr struct {
        uint32_t number;
        const char* fields;
        const char* error;
        vesk::decoder::Direction direction = kRequest;
    } kRows[] = {
        {27, "", "VO_START: outEngNo is missing; expected a number from 0 to 4294967295"},
        {27, "outEngNo=-1", "outEngNo=-1: expected a number from 0 to 4294967295"},
        {27, "outEngNo=4294967296", "outEngNo=4294967296: expected a number from 0 to 4294967295"},
        {27, "outEngNo=1x", "outEngNo=1x: expected a number from 0 to 4294967295"},
        {27, "outEngNo=1 outEngNo=1", "outEngNo is given twice"},
        {27, "outEngNoo=1", "VO_START has no field 'outEngNoo'; nearest: outEngNo"},
        {151, "inEngNo=65536", "inEngNo=65536: expected a number from 0 to 65535"},
        {152, "inEngNo=1 eptzMoveSpeed=-2147483649",
         "eptzMoveSpeed=-2147483649: expected a number from -2147483648 to 2147483647"},
        {157, "overlayChn=1 flag0=256", "flag0=256: expected a number from 0 to 255"},
        {98, "codec[0].profiles=1,2,3,4,5,6,7", "codec[0].profiles=1,2,3,4,5,6,7: expected at most 6 numbers",
         kAnswer},
        {98, "codec[0].profiles[6]=1", "codec[0].profiles[6]: expected an index from 0 to 5", kAnswer},
        {157, "overlayChn=1 reserved=0", "reserved='0': expected bytes of two hexadecimal digits"},
        {157, "overlayChn=1 reserved=(00*281)", "reserved=(00*281): expected at most 280 bytes, not 281"},
        {157, "overlayChn=1 reserved=(00*9999999)",
         "reserved='*9999999)': expected a repetition such as (00*16)"},
        {25, "outEngNo=1 subPic=1", "subPic is an array of 25; expected an index, as in subPic[0]"},
        {25, "outEngNo=1 subPic[0]=1", "subPic[0] is a VeskServiceSubPic; expected one of its fields"},
        {25, "outEngNo=1 picNum.x=1", "picNum.x: picNum has no fields"},
        {25, "outEngNo=1 subPic[0].input=1",
         "subPic[0].input: VeskServiceSubPic has no field 'input'; nearest: inputId"},
        {39, "encStmNo=1 lossRate=much", "lossRate=much: expected a number such as 0.25"},
        {0, "procName=12345678901234567",
         "procName=12345678901234567: expected a text of at most 16 characters"},
        {88, "", "ADVANCE_QUE_CLIENT_INIT: text is missing; expected a text of at most 63 characters"},
        {144, "filterParam=1 windowCount=1 [1].x=1",
         "windowCount=1: expected at least 2, the number of entries"},
        {144, "filterParam=1 windowCount=4000000", "SET_FILTER_WINDOW: expected at most 524285 entries"},
        {1, "data=00", "EXIT has no field 'data'; it has none"},
        {999, "", "there is no message 999"},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(ErrorOf([&] { Virtual().Encode(row.direction, row.number, Assignments(row.fields)); }),
                  row.error);
    for (const char* document : {"5", R"({"outEngNo":null})"})
        EXPECT_NE(ErrorOf([&] { AssignmentsOf(document, ""); }), "no error");
}

TEST(Decoder, NamesAreFoundOrTheNearestOnesSuggested)
{
    for (const char* name :
         {"VESK_VIDEO_MSG_VO_START", "vo_start", "VeskVideoVoStart", "VoStart", "27", "0x1b"})
        EXPECT_EQ(RequestNamed(name).number, VESK_VIDEO_MSG_VO_START) << name;
    for (const char* name : {"VESK_VIDEO_ON_IFREAME_REQUEST", "IFREAME_REQUEST", "5"})
        EXPECT_EQ(NotificationNamed(name).number, VESK_VIDEO_ON_IFREAME_REQUEST) << name;
    EXPECT_EQ(ErrorOf([] { RequestNamed("VO_STRAT"); }), "there is no request 'VO_STRAT'; nearest: VO_START");
    EXPECT_EQ(ErrorOf([] { NotificationNamed("nonsense"); }), "there is no notification 'nonsense'");
}

TEST(Decoder, NumbersThatAreHandedOutKeepTheirIdentity)
{
    const auto identity = [](const char* path) {
        Decoded message{};
        message.fields.resize(1);
        message.fields[0].path = path;
        return IdentityOf(message, message.fields[0]);
    };
    EXPECT_EQ(identity("[1].outEngNo"), "outEngNo");
    EXPECT_EQ(identity("encNo"), "encStmNo");
    EXPECT_EQ(identity("engNo"), kEngine);
    for (const char* path : {"count", "port", "status", "overlayChn"})
        EXPECT_EQ(identity(path), "") << path;
}

TEST(Records, DescriptionsOfTheUser)
{
    const std::string path = testing::TempDir() + "/veskctl-records";
    const auto decode = [&](const std::string& text) {
        std::ofstream(path) << text;
        const Decoder decoder(Decoder::Peer::kUnknown, {path});
        const Bytes zoomed = decoder.Encode(kRequest, 63, Assignments("port=1 zoom=2.5 name=wide"));
        const Bytes event = decoder.Encode(kNotification, 104, Assignments("code=7"));
        return Line(decoder, decoder.Decode({kRequest, 63, zoomed})) + "; " +
               Line(decoder, decoder.Decode({kNotification, 104, event}));
    };
    const std::string event = "E has 4 bytes\nE: uint32_t code at 0, 4 bytes\nNOTE payload shown as E\n";
    EXPECT_EQ(decode("# mine\n\nVeskVideoEptzParams: float zoom at 4, 4 bytes\nVeskVideoEptzParams: char "
                     "name[8] at 8, "
                     "8 bytes\n" +
                     std::string(event).replace(event.find("NOTE"), 4, "VESK_VIDEO_ON_NOTIFY_104")),
              "SET_VI_CUTOUT_PARAM port=1 zoom=2.5 name=\"wide\"; 104 NOTIFY_104 code=7");

    constexpr struct {
        const char* text;
        const char* error;
    } kRows[] = {
        {"nonsense", "1: 'nonsense' is not"},
        {"X: uint32_t a at 0, 4 bytes", "1: a line 'X has N bytes' must come first"},
        {"\nVeskVideoEptzParams has 4 bytes", "2: VeskVideoEptzParams has 788 bytes, not 4"},
        {"X has 4 bytes\nX: uint32_t a at 2, 4 bytes", "2: X.a: 4 bytes at 2 do not fit"},
        {"X has 4 bytes\nX: uint32_t a at 0, 2 bytes", "2: X.a: a uint32_t has 4 bytes"},
        {"X has 5 bytes\nX: Y a at 0, 5 bytes", "1: X.a: no Y of 5 bytes is known"},
        {"X has 4 bytes\nX: X a at 0, 4 bytes", "1: X contains itself"},
        {"X has 4 bytes\nX has 4 bytes", "2: X is described twice"},
        {"X has 800 bytes\nVeskVideoEptzParams shown as X", "2: X has more bytes than VeskVideoEptzParams"},
        {"VeskVideoEptzParams shown as X", "1: there is no record X"},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(ErrorOf([&] { decode(row.text); }).find(path + ':' + row.error), 0U) << row.error;
    EXPECT_NE(ErrorOf([] { Decoder(Decoder::Peer::kUnknown, {"/nonexistent"}); }).find("No such file"),
              std::string::npos);
}

TEST(Filter, Terms)
{
    const auto decode = [](Direction direction, uint32_t number, const char* fields) {
        return Virtual().Decode(
            {direction, number, Virtual().Encode(direction, number, Assignments(fields))});
    };
    const Decoded start = decode(kRequest, 27, "outEngNo=1");
    const Decoded busy = decode(kAnswer, 27, "result=BUSY");
    const Decoded frame = decode(kNotification, 106, "viPort=-1 portName=HDMI-OUT-1");
    const struct {
        std::vector<std::string> terms;
        bool matchesStart, matchesFrame;
    } rows[] = {
        {{}, true, true},
        {{"VO_START"}, true, false},
        {{"VeskVideoVoStart"}, true, false},
        {{"VO_*", "106"}, true, true},
        {{"VESK_VIDEO_ON_DISPLAY_*"}, false, true},
        {{"outEngNo=1", "VO_STOP"}, false, false},
        {{"outEngNo=0x1"}, true, false},
        {{"result=BUSY"}, true, false},
        {{"result=OK"}, false, false},
        {{"viPort=-1", "portName=HDMI*"}, false, true},
    };
    for (const auto& row : rows) {
        const Filter filter(Virtual(), row.terms);
        EXPECT_EQ(filter.Matches(start, &busy), row.matchesStart) << testing::PrintToString(row.terms);
        EXPECT_EQ(filter.Matches(frame), row.matchesFrame) << testing::PrintToString(row.terms);
    }
    EXPECT_NE(ErrorOf([] { Filter(Virtual(), {"VO_STRAT"}); }).find("nearest: VO_START"), std::string::npos);
}
