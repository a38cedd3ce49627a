#pragma once
#include "camera/vireo_doc.h"

namespace vireo {

/// The new-document step: finds and connects the cameras in ascending order of serial numbers, narrows the
/// limits to their models, reserves the frame store, configures and starts the cameras, opens the panel and
/// switches the view timers on. With values imposed by a partner program no panel and no confirmation, and
/// the outcome goes to the cooperation result.
///
/// User-interface thread, once per document. False: the document must not be opened; the reason was shown
/// (a cancelled confirmation needs none), and the cameras connected so far are released by
/// OnCloseDocument or the document's destruction. A configuration that fails posts the exit command and the
/// result is still true.
bool OnNewDocument(CVireoDoc& doc);

} // namespace vireo
