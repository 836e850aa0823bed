/// @file
/// AutoreleasePool.h — stands for NSAutoreleasePool: a scope that owns the temporary objects made
/// while it is the innermost open pool and releases them when it closes.
///
/// Ownership: the pool owns every object handed to autorelease() until its destructor runs. Pools
/// nest per thread and must close in the reverse order of opening, which RAII scoping gives.
/// Invariant: current() is the innermost open pool of the calling thread, or null.
/// Copying: not copyable and not movable (the nesting chain holds its address).
#pragma once

#include <memory>
#include <vector>

namespace platform {

/// A scope that owns the temporary objects of one operation (see AutoreleasePool.h).
class AutoreleasePool {
public:
    /// Opens a pool nested inside the current one.
    AutoreleasePool();
    /// Releases the pool's objects, newest first, and reopens the enclosing pool.
    ~AutoreleasePool();
    AutoreleasePool(const AutoreleasePool&) = delete;
    AutoreleasePool& operator=(const AutoreleasePool&) = delete;

    /// The innermost open pool of this thread; null when none is open.
    static AutoreleasePool* current();

    /// Keeps `object` alive until this pool closes and returns a plain pointer to it.
    template <class T> T* autorelease(std::shared_ptr<T> object) {
        T* raw = object.get();
        objects_.push_back(std::move(object));
        return raw;
    }

    /// Number of objects the pool holds; does not count those of enclosing pools.
    std::size_t count() const { return objects_.size(); }

private:
    AutoreleasePool* outer_;
    std::vector<std::shared_ptr<const void>> objects_;
};

} // namespace platform
