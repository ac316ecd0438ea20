// Localisation defaults. The library reports default (English) texts only, so a localizer here
// carries no catalogues; it exists because value conversion takes one.
#pragma once

#include <string>
#include <utility>

namespace Ostra {
namespace L10n {

class LocaleSpec {
 public:
  LocaleSpec() = default;
  LocaleSpec(std::string language, std::string fallbackLanguage, std::string timeZone)
      : language_(std::move(language)),
        fallbackLanguage_(std::move(fallbackLanguage)),
        timeZone_(std::move(timeZone)) {}

  const std::string& GetLanguage() const { return language_; }
  const std::string& GetFallbackLanguage() const { return fallbackLanguage_; }
  const std::string& GetTimeZone() const { return timeZone_; }

 private:
  std::string language_ = "en_US";
  std::string fallbackLanguage_ = "C";
  std::string timeZone_ = "Etc/UTC";
};

// Yields default texts: it has no catalogues of its own.
class Localizer {};

// A localizer bound to the locale of one request.
class RequestLocalizer {
 public:
  RequestLocalizer() = default;
  RequestLocalizer(const Localizer& localizer, LocaleSpec locale)
      : localizer_(localizer), locale_(std::move(locale)) {}

  const Localizer& GetLocalizer() const { return localizer_; }
  const LocaleSpec& GetLocale() const { return locale_; }

 private:
  Localizer localizer_;
  LocaleSpec locale_;
};

}  // namespace L10n
}  // namespace Ostra
