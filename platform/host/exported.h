// Exports every function of the platform layer, whose headers carry no visibility.
#pragma GCC visibility push(default)
#include "platform/os_log.h"
#include "platform/os_msg.h"
#include "platform/os_queue.h"
#include "platform/os_sysctrl.h"
#include "platform/secure_memory.h"
#include "vesk_host/message.h"
#include "vesk_host/queue.h"
#pragma GCC visibility pop
