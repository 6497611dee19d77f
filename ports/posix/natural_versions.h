#pragma once

#include "platform/version.h"

// The order of version texts, as people who number software mean them.
//
// A text is cut into numbers (runs of digits), words (runs of letters) and what separates them, and
// then read as a list of steps:
//
//  1. Numbers that dots join are one group, compared number by number, as numbers of any length:
//     1.9 < 1.10. Zeros at the end of a group say nothing: 1.0 is 1.0.0, and 4.2-7 < 4.2.0-9.
//  2. Any other separator in front of a number opens a build group behind the version proper:
//     "1.2 (345)", "1.2,345", "1.2+45", "19.1.1-54734". A version with one more number is newer
//     than any build (1.2-999 < 1.2.1); a build is newer than none (1.2 < 1.2-1).
//  3. A word opens a group, too, and the numbers after it are its own, also when one of ". - _" or
//     a space stands between: "beta2", "beta.2", "BETA-2" and "beta 2" are the same. Letter case
//     says nothing.
//  4. Words that name a stage on the way to a release make the version older than that release:
//     2.0-dev < 2.0a1 < 2.0-beta.2 < 2.0rc1 < 2.0. A stage counts before the build groups in front
//     of it: 2.0-48.beta is a beta of 2.0. The letters d, a and b name a stage only when a number
//     follows at once; else rule 5 holds.
//  5. Other words make it newer, and go by the alphabet: 1.0.2 < 1.0.2k < 1.0.2l. Letters right
//     behind a number are a patch level and count more than a build: 1.0.2-7 < 1.0.2k. Just one
//     kind is older, as in semantic versioning: a word without a number that a hyphen ties to the
//     version proper, 1.0rc1 < 1.0-trial < 1.0.
//  6. Words in front of the first number are a label ("v2", "Version 3", "r12", "Build 77") and are
//     passed over; a stage among them counts behind the number ("Beta 1.2" < "1.2").
//
// So two versions are compared step by step, and where one has ended and the other has not:
// stage < hyphened word < end < word < build group < patch letters < number. That is the dictionary
// order of two lists, and therefore total: equal texts are equivalent, and no three versions go in
// a circle.
//
// Dates and hashes need no rule of their own. Characters outside ASCII are letters, save the spaces
// and punctuation of U+00A0-U+00BF, U+2000-U+206F and U+3000-U+303F.
namespace revwarden {

/// Makes versions in the natural order described above. Any thread.
///
/// A text is a version when it holds a digit or a letter, a number when it is finite. White space
/// at both ends is no part of a version; its text is otherwise kept as it came. Time and memory
/// grow with the length of the text and nothing else.
class NaturalVersions final : public Versions {
 public:
  VersionRef versionWithValue(const Value* value) const override;

  /// The short one when it is a version, else the full one.
  VersionRef betterVersionOfShort_andFull(const VersionRef& shortVersion,
                                          const VersionRef& fullVersion) const override;
};

}  // namespace revwarden
