#pragma once

#include <cstdint>

// A library that stands between a program and the system's calls that write, when a program links it or is
// started with it in LD_PRELOAD. It sees the calls that write or sync a file below one directory; a call that
// fails by itself counts as well. Programs that know nothing of it are steered by the environment:
//   WELK_SHIM_DIR      the directory; nothing is watched without it
//   WELK_SHIM_AT       number of the call, from 1, at which the action is taken; 0 or none: never
//   WELK_SHIM_ACTION   one of the names below, in lower case with dashes: kill-before, fail-after ...
//   WELK_SHIM_ERROR    errno of the failing actions: a number; EIO when absent
//   WELK_SHIM_LASTING  1: the action is taken at every call from that one on
//   WELK_SHIM_TRACE    a file, outside of the directory, that gets a record of every call (Trace.h)
enum class ShimAction : int32_t {
    None = 0,
    KillBefore,  // the process ends before the call does anything
    KillHalf,    // half of the bytes are written; for a call that is no write: before
    KillAfter,   // when the call has done everything
    Fail,        // nothing is done, the call answers the error
    FailAfter,   // everything is done, the call answers the error
    Short        // half of the bytes are written and the call says so; a call that is no write fails
};

extern "C" {
// Counts from 1 again and takes the action at the given call. An empty directory ends the watch.
void crashShimWatch(const char* directory, int64_t at, ShimAction action, int32_t error, int32_t lasting);
// Calls since then.
int64_t crashShimCount();
// Begins a trace of the calls below the watched directory; an empty name ends it.
void crashShimTrace(const char* file);
// Writes a mark with a number of the caller's into the trace.
void crashShimMark(uint64_t number);
}
