#pragma once

namespace ebo {

class Irefcounted;

/// What a refptr does with the last count of an object: the collector gets it. Without a collector, before
/// it was made or after it has gone, and on a thread that has an EndAtOnce, the object ends at once on the
/// calling thread. Any thread.
void handToCollector(Irefcounted* lastCount);

}  // namespace ebo
