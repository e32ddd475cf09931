#pragma once

namespace ebo {

class Irefcounted;

/// Ends an object whose last count lies in `slot`, and leaves the slot null. If somebody has taken a new
/// reference meanwhile, only the slot's count goes and the object lives on.
///
/// A QObject that lives on another, running thread is left to that thread by deleteLater; with
/// `mainThreadDirect` an object of the application's main thread is destroyed here all the same. Everything
/// else is destroyed here. Any thread; the threads that objects live on are HomeThreads or the main one.
/// @return whether the object ended (or was told to)
bool destroyNow(Irefcounted*& slot, bool mainThreadDirect);

}  // namespace ebo
