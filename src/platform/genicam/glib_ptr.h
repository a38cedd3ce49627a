#pragma once
#include <arv.h>
#include <memory>
#include <string_view>

namespace vireo {

/// What the library tells, or nothing where it tells none.
inline std::string_view Told(const char* strMaybe) { return strMaybe != nullptr ? strMaybe : std::string_view(); }

/// Gives a GObject's reference back.
struct GObjectUnref {
    void operator()(void* pObject) const { g_object_unref(pObject); }
};
template <typename T> using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

/// Gives memory of GLib back.
struct GFree {
    void operator()(void* pMemory) const { g_free(pMemory); }
};
template <typename T> using GMemory = std::unique_ptr<T, GFree>;

/// The place for one call's GError; a fresh one for each call, since GLib refuses to overwrite.
class GErrorSlot {
public:
    GErrorSlot() = default;
    GErrorSlot(const GErrorSlot&) = delete;
    GErrorSlot& operator=(const GErrorSlot&) = delete;
    ~GErrorSlot() { g_clear_error(&m_pError); }

    GError** Out()
    {
        g_clear_error(&m_pError);
        return &m_pError;
    }
    explicit operator bool() const { return m_pError != nullptr; }
    const GError* Get() const { return m_pError; }
    const char* Message() const { return m_pError != nullptr ? m_pError->message : ""; }

private:
    GError* m_pError = nullptr;
};

} // namespace vireo
