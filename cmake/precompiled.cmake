# What most sources of the decoder, the service and the tools include is compiled once. Sources include what they need
# all the same, so that a build without precompiled headers works.
set(VESK_PRECOMPILED <algorithm> <cstring> <functional> <map> <memory> <optional> <span> <string> <string_view> <variant>
  <vector> <vesk_video/message_list.h>)
