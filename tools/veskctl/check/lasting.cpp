// What requests change beyond the life of the client that sends them, and how it is put back.
#include "tools/veskctl/check/lasting.h"

#include "decoder/names.h"
#include "tools/veskctl/check/things.h"
#include "tools/veskctl/check/trial.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace vesk::ctl::check {

using namespace decoder;

namespace {

struct Row {
    uint32_t request;
    /// Another request that takes its change back, with the same header and payload; 0: see below.
    uint32_t opposite;
    /// Reads what the request sets, before it does; given to it, what was read puts it back.
    const char* read;
    /// Sets what is usual. Fields of the request are $name.
    const char* usual;
    /// What remains in spite of that.
    const char* remains;
};

constexpr Row kRows[] = {
    {VESK_VIDEO_MSG_VI_DISABLE, VESK_VIDEO_MSG_VI_ENABLE, "", "", ""},
    {VESK_VIDEO_MSG_VO_DISABLE, VESK_VIDEO_MSG_VO_ENABLE, "", "", ""},
    {VESK_VIDEO_MSG_SET_FILTER_WINDOW, VESK_VIDEO_MSG_DELETE_FILTER_WINDOW, "", "", ""},
    {VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM, 0, "GET_VI_CUTOUT_PARAM inEngNo=$inEngNo", "", ""},
    {VESK_VIDEO_MSG_SET_VI_PTZF_PARAM, 0, "GET_VI_PTZF_PARAM inEngNo=$inEngNo", "", ""},
    {VESK_VIDEO_MSG_SET_PRESET, 0, "", "SET_PRESET inEngNo=$inEngNo isValid=0 presetId=$presetId", ""},
    {VESK_VIDEO_MSG_SET_SR_ENABLE, 0, "", "SET_SR_ENABLE enable=0", "super resolution is off"},
    {VESK_VIDEO_MSG_SET_DEFAULT_IMAGE, 0, "",
     "SET_DEFAULT_IMAGE imageParam1=$imageParam1 imageParam2=0 text=", "a display has no default image"},
    {VESK_VIDEO_MSG_SET_DISPLAY_MODE, 0, "", "SET_DISPLAY_MODE", "the display mode is 0"},
    {VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM, 0, "",
     "SET_VIRTUAL_VI_PARAM sourceId=$sourceId text=", "an input has no virtual source"},
    {VESK_VIDEO_MSG_SET_WALLPAPER_INFO, 0, "", "SET_WALLPAPER_INFO", "there is no wallpaper"},
    {VESK_VIDEO_MSG_SET_ANNOTATION_STATUS, 0, "", "SET_ANNOTATION_STATUS value1=0 value2=0 status=0",
     "the annotation status is 0"},
    {VESK_VIDEO_MSG_EXECUT_VI_TRACKING_PARAM, 0, "", "", "a camera tracks, which no request ends"},
    {VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS, 0, "", "",
     "the addresses of a virtual machine are those of a test"},
    {VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION, 0, "", "", "the projection is that of a test"},
    {VESK_VIDEO_MSG_GET_SNAPSHOT, 0, "", "", "snapshots have been taken, in /tmp/veskctl-check.jpg"},
};

const Row* FindRow(uint32_t number)
{
    const auto* found = std::find_if(std::begin(kRows), std::end(kRows),
                                     [&](const Row& row) { return row.request == number; });
    return found == std::end(kRows) ? nullptr : found;
}

/// True if both requests, which have the same number, ask for the same.
bool AreAlike(uint32_t number, BytesView a, BytesView b)
{
    using messages::HeaderField;
    constexpr size_t kHeadSize = sizeof(VeskVideoMsgHead);
    const messages::Request* listed = messages::FindRequest(number);
    if (listed == nullptr || a.size() != b.size() || a.size() < kHeadSize ||
        !std::equal(a.begin() + kHeadSize, a.end(), b.begin() + kHeadSize))
        return false;
    const VeskVideoMsgHead heads[] = {HeadOf(a), HeadOf(b)};
    const HeaderField fields[] = {HeaderField::kSubMsgID, HeaderField::kParam1, HeaderField::kParam2};
    return std::all_of(std::begin(fields), std::end(fields), [&](HeaderField field) {
        return !listed->At(field).IsUsed() || ValueOf(heads[0], field) == ValueOf(heads[1], field);
    });
}

} // namespace

void Lasting::Before(Actor& actor, uint32_t number, BytesView data)
{
    read_.reset();
    const Row* row = FindRow(number);
    if (row == nullptr || *row->read == '\0' || data.size() < sizeof(VeskVideoMsgHead) || isReading_)
        return;
    isReading_ = true;
    try {
        const Reply reply = actor.Send(row->read);
        const BytesView payload = reply.Payload();
        if (reply.IsOk() && payload.size() == data.size() - sizeof(VeskVideoMsgHead)) {
            read_ = Undo{"", number, {data.begin(), data.begin() + sizeof(VeskVideoMsgHead)}, ""};
            read_->data.insert(read_->data.end(), payload.begin(), payload.end());
        }
    } catch (const NotTried&) {
        read_.reset();
    }
    isReading_ = false;
}

void Lasting::Accepted(const Decoder& decoder, uint32_t number, BytesView data)
{
    // A test that puts something back by itself leaves nothing to put back.
    std::erase_if(
        undos_, [&](const Undo& undo) { return undo.number == number && AreAlike(number, undo.data, data); });
    const Row* row = FindRow(number);
    if (row == nullptr || data.size() < sizeof(VeskVideoMsgHead)) // nothing that its opposite takes back
        return;
    Undo undo{"", 0, {}, row->remains};
    if (row->opposite != 0) {
        undo.number = row->opposite;
        undo.data.assign(data.begin(), data.end());
        const auto opposite = static_cast<uint16_t>(row->opposite);
        std::memcpy(undo.data.data() + offsetof(VeskVideoMsgHead, msgId), &opposite, sizeof opposite);
    } else if (*row->read != '\0') {
        undo = read_.value_or(Undo{
            "", 0, {}, std::string(ShortName(messages::FindRequest(number)->name)) + " has been changed"});
    } else {
        undo.line = row->usual;
        for (const Field& field : decoder.Decode({Direction::kRequest, number, data}).fields) {
            const size_t place = undo.line.find('$' + field.path);
            if (place != undo.line.npos && field.path != "inEngNo")
                undo.line.replace(place, field.path.size() + 1,
                                  std::to_string(std::get<uint64_t>(field.value)));
        }
    }
    const auto isSame = [&](const Undo& one) { return one.line == undo.line; };
    if (undo.line.empty() || std::none_of(undos_.begin(), undos_.end(), isSame)) // once is enough for a line
        undos_.push_back(std::move(undo));
}

std::vector<std::string> Lasting::PutBack(Actor& actor)
{
    std::vector<std::string> done;
    for (std::vector<Undo> undos = std::exchange(undos_, {}); !undos.empty(); undos.pop_back()) {
        const Undo& undo = undos.back();
        if (undo.line.empty() && undo.data.empty()) {
            Remains(undo.remains);
            continue;
        }
        const Reply reply = undo.line.empty() ? actor.Send(undo.number, undo.data) : actor.Send(undo.line);
        if (!reply.IsOk())
            Remains(reply.request.Title() + " could not put back what a test had changed: " + reply.Text());
        else
            done.push_back(reply.request.Title());
        if (reply.IsOk() && !undo.remains.empty())
            Remains(undo.remains);
    }
    undos_.clear(); // of what has put back
    return done;
}

void Lasting::GiveUp(const std::string& reason)
{
    undos_.clear();
    Remains("what tests had changed could not be put back: " + reason);
}

void Lasting::Remains(const std::string& what)
{
    if (std::find(left_.begin(), left_.end(), what) == left_.end())
        left_.push_back(what);
}

} // namespace vesk::ctl::check
