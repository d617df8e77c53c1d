// What a process that reads files from anywhere can do.
#pragma once

namespace vesk::pictures::media {

/// Leaves this process, which has one thread, only what it needs: memory up to a limit, and to read and write
/// what is open.
void Confine();

/// Ends this process if it takes more time of a processor than that from now on; 0: it may take any.
void LimitProcessorTime(unsigned milliseconds);

} // namespace vesk::pictures::media
