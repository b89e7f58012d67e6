#pragma once
// The owner of the atoms of one file and of every movie rebuilt from it.
// Atoms point at each other without owning anything (a rebuilt movie shares
// headers and sample descriptions with the movie it was made from); the
// arena frees them all at once when it dies. Not thread-safe: one file is
// read and rebuilt by one thread.

#include <cstddef>
#include <deque>
#include <memory>
#include <utility>

namespace tolmi {

class AtomArena {
public:
    AtomArena() = default;
    AtomArena(const AtomArena&) = delete;
    AtomArena& operator=(const AtomArena&) = delete;

    // A new T that lives as long as the arena.
    template <class T, class... Args>
    T* Make(Args&&... args) {
        Owned owned(new T(std::forward<Args>(args)...), [](void* object) { delete static_cast<T*>(object); });
        T* made = static_cast<T*>(owned.get());
        objects_.push_back(std::move(owned));
        return made;
    }

    size_t size() const { return objects_.size(); }

private:
    using Owned = std::unique_ptr<void, void (*)(void*)>;
    std::deque<Owned> objects_;
};

}  // namespace tolmi
