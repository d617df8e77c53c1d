// The definition of a function that the tracer stands in front of.
#pragma once

#include "tools/tracer/recorder.h"

#include <dlfcn.h>

#include <atomic>

namespace vesk::tracer {

/// Finds the definition once and keeps it. Constant-initialised; needs no lock.
template <class Function>
class Next {
public:
    constexpr explicit Next(const char* name) : name_(name) {}

    /// The next definition as seen from the tracer, or else, for a caller that was loaded at run time with
    /// its own libraries, as seen from @p caller, an address in it. Null after one line on standard error.
    Function* Find(const void* caller)
    {
        void* found = found_.load(std::memory_order_relaxed);
        if (found == nullptr) {
            found = dlsym(RTLD_NEXT, name_);
            if (found == nullptr)
                found = FindFrom(caller);
            if (found == nullptr)
                Say("%s: no platform library defines it", name_);
            found_.store(found, std::memory_order_relaxed);
        }
        return reinterpret_cast<Function*>(found);
    }

private:
    void* FindFrom(const void* caller) const
    {
        Dl_info info;
        if (dladdr(caller, &info) == 0)
            return nullptr;
        void* library = dlopen(info.dli_fname, RTLD_NOLOAD | RTLD_LAZY);
        if (library == nullptr)
            return nullptr;
        void* found = dlsym(library, name_);
        dlclose(library);
        return found;
    }

    const char* name_;
    std::atomic<void*> found_ = nullptr;
};

} // namespace vesk::tracer
