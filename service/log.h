// The service's own lines in the module log.
#pragma once

#include "platform/os_log.h"

namespace vesk::service {

enum LogLevel : uint32_t { kError = 1, kInfo = 3 };

inline constexpr char kLogSource[] = "vesk_video_service";

} // namespace vesk::service

#define LOG(level, ...)                                                                                      \
    VeskOmLogModuleLogRecord(vesk::service::level, VeskVideoGetPrivateLogId(0), vesk::service::kLogSource,   \
                             sizeof(vesk::service::kLogSource) - 1, __LINE__, __VA_ARGS__)
