#pragma once

namespace vireo::view_messages {

// What a view shows when its drawing path cannot be had; the view stays, on what remains.
inline constexpr const char* kNoSurface = "Error Obtaining DC";
inline constexpr const char* kNoContext = "Error Creating RC.";
inline constexpr const char* kBindFailed = "Error binding OpenGL.";
inline constexpr const char* kUnbindFailed = "Error unbinding OpenGL.";
inline constexpr const char* kNoBitmapStore = "Error : Create WIC factory.";
inline constexpr const char* kNoDeviceResources = "Error : 1st CreateDeviceResources().";

} // namespace vireo::view_messages
