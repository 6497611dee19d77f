#include "ports/posix/natural_versions.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <utility>

#include "base/text.h"

namespace revwarden {
namespace {

// In ascending order. Two steps of different kinds are ordered by their kind alone.
enum class Kind : unsigned char {
  development,
  alpha,
  beta,
  candidate,
  qualifier,
  end,
  word,
  build,
  letter,
  number
};

struct Step {
  Kind kind;
  std::string_view text;  // a number without leading zeros, or a word
};

struct Stage {
  std::string_view word;
  Kind kind;
};

constexpr std::array kStages = {
    Stage{"dev", Kind::development},
    Stage{"devel", Kind::development},
    Stage{"development", Kind::development},
    Stage{"nightly", Kind::development},
    Stage{"snapshot", Kind::development},
    Stage{"canary", Kind::development},
    Stage{"insider", Kind::development},
    Stage{"insiders", Kind::development},
    Stage{"alpha", Kind::alpha},
    Stage{"ea", Kind::alpha},
    Stage{"eap", Kind::alpha},
    Stage{"milestone", Kind::alpha},
    Stage{"beta", Kind::beta},
    Stage{"pre", Kind::beta},
    Stage{"preview", Kind::beta},
    Stage{"prerelease", Kind::beta},
    Stage{"rc", Kind::candidate},
    Stage{"fc", Kind::candidate},
    Stage{"candidate", Kind::candidate},
};
constexpr std::array kStageLetters = {
    Stage{"d", Kind::development},
    Stage{"a", Kind::alpha},
    Stage{"b", Kind::beta},
};

constexpr bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
constexpr char lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}
constexpr bool isAsciiLetter(char c) {
  return lowered(c) >= 'a' && lowered(c) <= 'z';
}

std::strong_ordering compareWords(std::string_view a, std::string_view b) {
  const auto byte = [](char c) { return static_cast<unsigned char>(lowered(c)); };
  for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    if (byte(a[i]) != byte(b[i])) return byte(a[i]) <=> byte(b[i]);
  }
  return a.size() <=> b.size();
}

std::strong_ordering compareSteps(const Step& a, const Step& b) {
  if (a.kind != b.kind) return a.kind <=> b.kind;
  if (a.kind != Kind::number) return compareWords(a.text, b.text);
  if (a.text.size() != b.text.size()) return a.text.size() <=> b.text.size();
  return a.text.compare(b.text) <=> 0;
}

constexpr std::string_view kWordJoints = ".-_ ";

/// Cuts a text into steps.
class StepReader {
 public:
  explicit StepReader(std::string_view text)
      : text_(text), lastDigit_(text.find_last_of("0123456789")) {}

  std::vector<Step> steps() {
    while (at_ < text_.size()) {
      if (isDigit(text_[at_])) {
        readNumber();
      } else if (isLetter()) {
        readWord();
      } else {
        at_ += separatorLength();
      }
    }
    endGroup();
    append(builds_, words_);
    append(words_, release_);
    return std::move(release_);
  }

 private:
  bool isLetter() const {
    const char c = text_[at_];
    return isAsciiLetter(c) || (static_cast<unsigned char>(c) >= 0x80 && separatorLength() == 1);
  }

  // The length in bytes of the separator here. More than 1 only for one outside ASCII.
  size_t separatorLength() const {
    std::string_view rest = text_.substr(at_);
    const char32_t c = takeCharacter(rest);
    const bool isSeparator =
        (c >= 0xA0 && c <= 0xBF) || (c >= 0x2000 && c <= 0x206F) || (c >= 0x3000 && c <= 0x303F);
    return isSeparator ? text_.size() - at_ - rest.size() : 1;
  }

  void readNumber() {
    if (!sawNumber_) {
      group_ = &release_;
    } else if (!joinsGroup()) {
      endGroup();
      group_ = &builds_;
      group_->push_back({Kind::build, {}});
    }
    sawNumber_ = true;
    size_t begin = at_;
    while (at_ < text_.size() && isDigit(text_[at_])) ++at_;
    while (begin < at_ && text_[begin] == '0') ++begin;
    group_->push_back({Kind::number, text_.substr(begin, at_ - begin)});
    memberEnd_ = at_;
    joints_ = ".";
  }

  // Returns true if the number here belongs to the group before it.
  bool joinsGroup() const {
    return at_ == memberEnd_ ||
           (at_ == memberEnd_ + 1 && joints_.find(text_[memberEnd_]) != std::string_view::npos);
  }

  void readWord() {
    const size_t begin = at_;
    while (at_ < text_.size() && isLetter()) ++at_;
    const std::string_view word = text_.substr(begin, at_ - begin);
    const Kind kind = kindOf(word, begin > 0 ? text_[begin - 1] : '\0');
    const bool numberFollows = lastDigit_ != std::string_view::npos && lastDigit_ >= at_;
    if (kind == Kind::word && !sawNumber_ && numberFollows) return;  // a label
    endGroup();
    if (kind > Kind::end) append(builds_, words_);
    words_.push_back({kind, kind < Kind::qualifier ? std::string_view() : word});
    if (!sawNumber_ && numberFollows) return;  // a label, with a stage
    group_ = &words_;
    memberEnd_ = at_;
    joints_ = kWordJoints;
  }

  // The kind of `word`, which ends here and follows the character `before`.
  Kind kindOf(std::string_view word, char before) const {
    const auto named = [&](const Stage& stage) { return compareWords(stage.word, word) == 0; };
    const auto stage = std::find_if(kStages.begin(), kStages.end(), named);
    if (stage != kStages.end()) return stage->kind;
    const auto letter = std::find_if(kStageLetters.begin(), kStageLetters.end(), named);
    if (letter != kStageLetters.end() && digitAt(at_)) return letter->kind;
    if (isDigit(before)) return Kind::letter;
    const bool behindRelease = sawNumber_ && words_.empty() && builds_.empty();
    return before == '-' && behindRelease && !ownsNumber() ? Kind::qualifier : Kind::word;
  }

  bool digitAt(size_t at) const { return at < text_.size() && isDigit(text_[at]); }

  // Returns true if a number follows that belongs to the word that ends here.
  bool ownsNumber() const {
    return digitAt(at_) ||
           (digitAt(at_ + 1) && kWordJoints.find(text_[at_]) != std::string_view::npos);
  }

  void endGroup() {
    if (group_ == nullptr) return;
    const auto isZero = [](const Step& s) { return s.kind == Kind::number && s.text.empty(); };
    while (!group_->empty() && isZero(group_->back())) group_->pop_back();
  }

  static void append(std::vector<Step>& from, std::vector<Step>& to) {
    to.insert(to.end(), from.begin(), from.end());
    from.clear();
  }

  std::string_view text_;
  size_t lastDigit_;
  size_t at_ = 0;
  bool sawNumber_ = false;

  std::vector<Step> release_;
  std::vector<Step> words_;             // and stages, and the builds before the last word
  std::vector<Step> builds_;            // since the last word that is no stage
  std::vector<Step>* group_ = nullptr;  // the group that is being read
  size_t memberEnd_ = 0;                // the end of its last number or word
  std::string_view joints_;             // separators allowed before its next number
};

class NaturalVersion final : public KQVersion {
 public:
  explicit NaturalVersion(std::string_view text) : text_(text), steps_(StepReader(text_).steps()) {}
  NaturalVersion(const NaturalVersion&) = delete;  // the steps point into the text
  NaturalVersion& operator=(const NaturalVersion&) = delete;

  std::weak_ordering compare(const KQVersion& other) const override {
    if (const auto* version = dynamic_cast<const NaturalVersion*>(&other)) {
      return compareTo(*version);
    }
    return compareTo(NaturalVersion(other.stringRepresentation()));
  }

  std::string stringRepresentation() const override { return text_; }

  bool isEmpty() const { return steps_.empty() && text_.find('0') == std::string::npos; }

 private:
  std::strong_ordering compareTo(const NaturalVersion& other) const {
    const size_t common = std::min(steps_.size(), other.steps_.size());
    for (size_t i = 0; i < common; ++i) {
      const auto order = compareSteps(steps_[i], other.steps_[i]);
      if (order != 0) return order;
    }
    return kindAt(common) <=> other.kindAt(common);
  }

  Kind kindAt(size_t index) const { return index < steps_.size() ? steps_[index].kind : Kind::end; }

  const std::string text_;
  const std::vector<Step> steps_;
};

std::optional<std::string> textOf(const Value& value) {
  if (const auto* text = value.as<std::string>()) return *text;
  if (const auto* number = value.as<int64_t>()) return std::to_string(*number);
  const auto* real = value.as<double>();
  if (real == nullptr || !std::isfinite(*real)) return std::nullopt;
  std::array<char, 1100> digits;  // enough for any finite number
  const auto end = std::to_chars(digits.begin(), digits.end(), *real, std::chars_format::fixed);
  return std::string(digits.begin(), end.ptr);
}

}  // namespace

Versions::VersionRef NaturalVersions::versionWithValue(const Value* value) const {
  const auto text = value != nullptr ? textOf(*value) : std::nullopt;
  if (!text) return nullptr;
  auto version = std::make_shared<const NaturalVersion>(trimmingSpacesAndLineBreaks(*text));
  return version->isEmpty() ? nullptr : version;
}

Versions::VersionRef NaturalVersions::betterVersionOfShort_andFull(
    const VersionRef& shortVersion, const VersionRef& fullVersion) const {
  return shortVersion != nullptr ? shortVersion : fullVersion;
}

}  // namespace revwarden
