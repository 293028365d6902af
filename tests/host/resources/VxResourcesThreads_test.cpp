#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "VxResourceGuards.h"
#include "VxResources.h"

// Lookups from several threads while another thread switches the language: every text that
// comes back is one of the two real texts and stays readable.
TEST(ResourceThreads, ConcurrentLookupsWhileLanguageChanges) {
  constexpr int kThreads = 4;
  constexpr int kLookups = 20000;
  ScopedResLanguage scope("en");
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&wrong] {
      for (int i = 0; i < kLookups; ++i) {
        const std::string* text = nullptr;
        if (!LoadResString("VxCameraUtils", "global.TEXT_CI_TYPE_CROSS", &text) ||
            (*text != "Cross" && *text != "Kreuz")) {
          ++wrong;
        }
      }
    });
  }
  for (int i = 0; i < 2000; ++i) VxSetResLanguage(i % 2 == 0 ? "de" : "en");
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
}
