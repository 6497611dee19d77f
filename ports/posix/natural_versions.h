#pragma once

#include "platform/version.h"

// The order of version texts, as the people who number software mean it.
//
// A text is cut into numbers (runs of digits), words (runs of letters) and separators, and then
// read as a list of steps:
//
//  1. Numbers joined by dots are one group, compared number by number, as numbers of any length:
//     1.9 < 1.10. Zeros at the end of a group are ignored: 1.0 is 1.0.0, and 4.2-7 < 4.2.0-9.
//  2. Any other separator before a number begins a build group after the version proper:
//     "1.2 (345)", "1.2,345", "1.2+45", "19.1.1-54734". A version with one more number is newer
//     than any build (1.2-999 < 1.2.1); a build is newer than none (1.2 < 1.2-1).
//  3. A word begins a group too. The numbers after it belong to it, also after one of ". - _" or a
//     space: "beta2", "beta.2", "BETA-2" and "beta 2" are the same. Letter case is ignored.
//  4. Words for a stage before a release make the version older than that release:
//     2.0-dev < 2.0a1 < 2.0-beta.2 < 2.0rc1 < 2.0. A stage counts before the build groups in front
//     of it: 2.0-48.beta is a beta of 2.0. The letters d, a and b are stages only directly before a
//     number; else rule 5 applies.
//  5. Other words make it newer, in alphabetical order: 1.0.2 < 1.0.2k < 1.0.2l. Letters directly
//     after a number are a patch level and count more than a build: 1.0.2-7 < 1.0.2k. One kind is
//     older, as in semantic versioning: a word without a number, joined to the version proper by a
//     hyphen: 1.0rc1 < 1.0-trial < 1.0.
//  6. Words before the first number are a label ("v2", "Version 3", "r12", "Build 77") and are
//     ignored; a stage among them counts after the number ("Beta 1.2" < "1.2").
//
// So two versions are compared step by step. Where one has ended and the other has not:
// stage < hyphened word < end < word < build group < patch letters < number. That is the dictionary
// order of two lists, and therefore total: equal texts are equivalent, and there are no cycles.
//
// Dates and hashes need no rule of their own. Characters outside ASCII are letters, except the
// spaces and punctuation of U+00A0-U+00BF, U+2000-U+206F and U+3000-U+303F.
namespace revwarden {

/// Makes versions in the natural order described above. Any thread.
///
/// A text is a version if it contains a digit or a letter, a number if it is finite. White space at
/// both ends is removed; the rest of the text is kept unchanged. Time and memory depend only on the
/// length of the text.
class NaturalVersions final : public Versions {
 public:
  VersionRef versionWithValue(const Value* value) const override;

  /// Returns the short version if there is one, else the full one.
  VersionRef betterVersionOfShort_andFull(const VersionRef& shortVersion,
                                          const VersionRef& fullVersion) const override;
};

}  // namespace revwarden
