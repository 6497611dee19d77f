#pragma once

namespace revwarden {

/// Whose a copy is.
enum class Owner {
  copier,    // of the user who copies and that user's group, as everything that user makes
  asBefore,  // as in the source, as far as the copying user may give things away
};

}  // namespace revwarden
