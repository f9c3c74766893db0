/// @file
/// What a pool or an operation queue has done so far.
#pragma once

namespace TandorUtil {

/// Each piece of work that was submitted is in one of the others: at any moment
/// queued + running + done + dropped + refused = submitted.
struct WorkCounters {
    unsigned long long submitted = 0;  ///< was handed over, in whatever way it ended
    unsigned long long queued = 0;     ///< waits to be run
    unsigned long long running = 0;    ///< was taken to be run: is being run, or destroyed after its run
    unsigned long long done = 0;       ///< was run; what it did is visible to the thread that has read this
    unsigned long long dropped = 0;    ///< was accepted and destroyed without being run
    unsigned long long refused = 0;    ///< was not accepted
};

}  // namespace TandorUtil
