// Controls fault_shim.cpp, a library that stands in front of the C library's calls and lets some fail.
#pragma once

extern "C" {

/**
 * Which calls fail, in words: CALL=ERROR@N for the N-th one from now, CALL=ERROR%N for N of 1,000 at random,
 * seed=N for other random ones. ERROR is EINTR, EMFILE, ENOSPC, ENOMEM or, for pread and pwrite, SHORT, which
 * transfers one byte. The call malloc, which sanitizers do not let fail, includes calloc. Null or empty:
 * none. At the start of a process they are those of VESK_FAULTS. Example: "recv=EINTR%5 openat=EMFILE@2".
 */
void SetFaults(const char* faults);

/// Calls that have failed since SetFaults.
unsigned FaultCount();
}
