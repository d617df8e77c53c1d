// UVC streams: every request over its row.
#include "interface/request_table.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

using namespace recording;
using namespace request_table;

namespace {

constexpr char kSource[] = "vesk_video_interface_uvc";

uint32_t g_number;

/// A row of this family, whose lines all are the message's name in the common form.
Row UvcRow(const char* function, const std::string& name, std::function<uint32_t()> call,
           VeskVideoMsgHead head, Bytes payload = {}, Bytes answer = {}, uint32_t failedResult = 9)
{
    return {function,
            std::move(call),
            head,
            std::move(payload),
            std::move(answer),
            {Start(name)},
            Done(name),
            Invalid("Send Msg Fail!", "retVal"),
            false,
            failedResult};
}

Row AsyncRow(const char* function, const std::string& name, std::function<uint32_t()> call, uint16_t msgId)
{
    return {function,    std::move(call),
            Head(msgId), {},
            {},          {Start(name)},
            Done(name),  Invalid("Send Msg Fail!", "retVal"),
            true,        1};
}

} // namespace

TEST(UvcRequests, EachOverItsRow)
{
    static const auto param = Pattern<VeskVideoUvcParam>(1);
    static const auto paramEx = Pattern<VeskVideoUvcParamEx>(2);
    Drive(kSource,
          std::vector<Row>{
              AsyncRow("VeskVideoUvcInit", "VESK_VIDEO_MSG_INIT_UVC", VeskVideoUvcInit, 48),
              AsyncRow("VeskVideoUvcDeinit", "VESK_VIDEO_MSG_DEINIT_UVC", VeskVideoUvcDeinit, 49),
              UvcRow(
                  "VeskVideoUvcOpen", "VESK_VIDEO_MSG_OPEN_UVC_PORT",
                  [] { return VeskVideoUvcOpen(&g_number); }, Head(50), {}, Bytes(4), 1),
              UvcRow(
                  "VeskVideoUvcSetStmParam", "VESK_VIDEO_MSG_SET_UVC_PARAM",
                  [] { return VeskVideoUvcSetStmParam(0xfffffffe, &param); }, Head(51, 0xfffffffe),
                  BytesOf(param)),
              UvcRow(
                  "VeskVideoUvcSetStmParamEx", "VESK_VIDEO_MSG_SET_UVC_PARAM_EX",
                  [] { return VeskVideoUvcSetStmParamEx(3, &paramEx); }, Head(52, 3), BytesOf(paramEx)),
              UvcRow(
                  "VeskVideoUvcStartStream", "VESK_VIDEO_MSG_START_UVC_STREAM",
                  [] { return VeskVideoUvcStartStream(3); }, Head(53, 3)),
              UvcRow(
                  "VeskVideoUvcStopStream", "VESK_VIDEO_MSG_STOP_UVC_STREAM",
                  [] { return VeskVideoUvcStopStream(3); }, Head(54, 3)),
              UvcRow(
                  "VeskVideoUvcClose", "VESK_VIDEO_MSG_CLOSE_UVC_PORT", [] { return VeskVideoUvcClose(3); },
                  Head(55, 3)),
              UvcRow(
                  "VeskVideoUvcForceKeyFrame", "VESK_VIDEO_MSG_UVC_REQ_I_FRAME",
                  [] { return VeskVideoUvcForceKeyFrame(7); }, Head(131, 7), {}, {}, 1),
          });
}

TEST(UvcRequests, RefusedBeforeAnythingIsSent)
{
    Drive(kSource,
          std::vector<Refusal>{
              {"VeskVideoUvcOpen",
               [] { return VeskVideoUvcOpen(nullptr); },
               1,
               {Start("VESK_VIDEO_MSG_OPEN_UVC_PORT"), "L1 VeskVideoUvcOpen: uvcStmNo is NULL!"}},
              {"VeskVideoUvcSetStmParam",
               [] { return VeskVideoUvcSetStmParam(1, nullptr); },
               1,
               {Start("VESK_VIDEO_MSG_SET_UVC_PARAM"), "L1 VeskVideoUvcSetStmParam: uvcParam is NULL!"}},
              {"VeskVideoUvcSetStmParamEx",
               [] { return VeskVideoUvcSetStmParamEx(1, nullptr); },
               1,
               {Start("VESK_VIDEO_MSG_SET_UVC_PARAM_EX"), "L1 VeskVideoUvcSetStmParamEx: uvcParam is NULL!"}},
              {"VeskVideoUvcForceKeyFrame",
               [] { return VeskVideoUvcForceKeyFrame(8); },
               11,
               {Start("VESK_VIDEO_MSG_UVC_REQ_I_FRAME"), "L1 uvcStmNo[8] is invaild\n"}},
          });
}
