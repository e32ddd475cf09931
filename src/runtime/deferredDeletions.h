#pragma once

namespace ebo {

/// Delivers the main thread's deferred deletions (QObject::deleteLater) until none is left, also those that
/// arise on the way. For the time when its event loop does not run any more; on other threads, which deliver
/// their own as they end, and without an application it does nothing.
void deliverDeferredDeletions();

}  // namespace ebo
