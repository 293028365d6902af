#include "VxResources.h"

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <shared_mutex>

#include "EmbeddedTexts.h"

namespace {

const char kFallbackLanguage[] = "en";

// "de_DE.UTF-8", "de-AT" and "DE" all name the language "de".
std::string LanguageName(const std::string& value) {
  std::string name = value.substr(0, value.find_first_of("_-.@"));
  std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) {
    return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  });
  return name;
}

class TRegistry {
 public:
  TRegistry() {
    RegisterEmbedded();
    const char* env = std::getenv("VX_LANG");
    if (env != nullptr) SetLanguage(env);
  }

  bool Lookup(const std::string& module, const std::string& key, const std::string** text) const {
    std::shared_lock lock(mutex_);
    const std::string* found = Find(module, language_, key);
    if (found == nullptr && language_ != kFallbackLanguage) {
      found = Find(module, kFallbackLanguage, key);
    }
    if (found == nullptr) return false;
    *text = found;
    return true;
  }

  bool SetLanguage(const std::string& value) {
    const std::string name = LanguageName(value);
    std::unique_lock lock(mutex_);
    for (const auto& [module, languages] : modules_) {
      if (languages.count(name) != 0) {
        language_ = name;
        return true;
      }
    }
    return false;
  }

  std::string Language() const {
    std::shared_lock lock(mutex_);
    return language_;
  }

  std::vector<std::string> Languages() const {
    std::shared_lock lock(mutex_);
    std::set<std::string> names;
    for (const auto& [module, languages] : modules_) {
      for (const auto& [language, texts] : languages) names.insert(language);
    }
    return {names.begin(), names.end()};
  }

  void Register(const std::string& module, const std::string& language,
                const std::vector<std::pair<std::string, std::string>>& texts) {
    std::unique_lock lock(mutex_);
    auto& table = modules_[module][language];
    for (const auto& [key, text] : texts) table[key] = &storage_.emplace_back(text);
  }

  void Clear(const std::string& module) {
    std::unique_lock lock(mutex_);
    modules_.erase(module);
  }

  void RegisterEmbedded() {
    using vx_resources::kEmbeddedLanguages;
    for (std::size_t i = 0; i < vx_resources::kEmbeddedLanguageCount; ++i) {
      const auto& language = kEmbeddedLanguages[i];
      std::vector<std::pair<std::string, std::string>> texts;
      for (std::size_t k = 0; k < language.count; ++k) {
        texts.emplace_back(language.texts[k].key, language.texts[k].text);
      }
      Register(language.module, language.language, texts);
    }
  }

  std::vector<std::string> Keys(const std::string& module, const std::string& language) const {
    std::shared_lock lock(mutex_);
    std::vector<std::string> keys;
    const auto m = modules_.find(module);
    if (m == modules_.end()) return keys;
    const auto l = m->second.find(language);
    if (l == m->second.end()) return keys;
    for (const auto& [key, text] : l->second) keys.push_back(key);
    return keys;
  }

 private:
  using TTable = std::map<std::string, const std::string*, std::less<>>;

  const std::string* Find(const std::string& module, const std::string& language,
                          const std::string& key) const {
    const auto m = modules_.find(module);
    if (m == modules_.end()) return nullptr;
    const auto l = m->second.find(language);
    if (l == m->second.end()) return nullptr;
    const auto t = l->second.find(key);
    return t == l->second.end() ? nullptr : t->second;
  }

  mutable std::shared_mutex mutex_;
  std::string language_ = kFallbackLanguage;
  std::map<std::string, std::map<std::string, TTable>> modules_;
  // Texts are never freed: a pointer handed out by a lookup stays valid after its key is
  // replaced or its module cleared. A deque does not move its elements when it grows.
  std::deque<std::string> storage_;
};

TRegistry& Registry() {
  // Never destroyed, so that lookups during the destruction of other statics still work.
  static TRegistry* registry = new TRegistry;
  return *registry;
}

}  // namespace

bool LoadResString(const std::string& module, const std::string& key, const std::string** text) {
  return Registry().Lookup(module, key, text);
}

bool VxSetResLanguage(const std::string& language) {
  return Registry().SetLanguage(language);
}

std::string VxGetResLanguage() {
  return Registry().Language();
}

std::vector<std::string> VxResLanguages() {
  return Registry().Languages();
}

void VxRegisterResTexts(const std::string& module, const std::string& language,
                        const std::vector<std::pair<std::string, std::string>>& texts) {
  Registry().Register(module, language, texts);
}

void VxClearResTexts(const std::string& module) {
  Registry().Clear(module);
}

void VxRegisterEmbeddedResTexts() {
  Registry().RegisterEmbedded();
}

std::vector<std::string> VxResKeys(const std::string& module, const std::string& language) {
  return Registry().Keys(module, language);
}
