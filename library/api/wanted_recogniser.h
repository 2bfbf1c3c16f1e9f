#pragma once

#include "library/recognition/text_recogniser.h"
#include "library/settings/settings.h"

#include <memory>

namespace korv {

/// Who reads the pages as the settings, and the environment before them, want it: nobody when neither
/// text nor upright pages are wanted, or when there is no room for it, which is logged.
std::shared_ptr<TextRecogniser> wantedRecogniser(const Settings &settings);

} // namespace korv
