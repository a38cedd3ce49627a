#pragma once

namespace vireo {

class CVireoDoc;

/// Marks and saved range show the whole recording again, 0 to the target's last frame: they belong to one
/// recording. Whoever ends or begins one: the user-interface thread, or camera 0's grab thread.
void ResetMarks(CVireoDoc& doc);

} // namespace vireo
