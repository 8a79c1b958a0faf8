#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "platform/clock.h"
#include "platform/file.h"
#include "platform/muldiv.h"
#include "platform/section.h"
#include "platform/sync.h"
#include "platform/trace.h"
#include "ruvokit/rvplatform.h"

namespace {

TEST(MulDiv, RoundsHalvesAwayFromZeroAndRefusesOverflow) {
  struct Case {
    int32_t a, b, c, expected;
  };
  const Case cases[] = {
      {3, 1, 2, 2},    {-3, 1, 2, -2},   {5, 1, 3, 2},      {4, 1, 3, 1},     {1, 1, 2, 1},
      {-1, 1, 2, -1},  {1, -1, -2, 1},   {7, 0, 3, 0},      {1, 1, 0, -1},
      {0x7FFFFFFF, 2, 2, 0x7FFFFFFF},    {0x7FFFFFFF, 2, 1, -1},
      {-0x7FFFFFFF - 1, 1, 1, -0x7FFFFFFF - 1},  {-0x7FFFFFFF - 1, -1, 1, -1},
      {100000, 100000, 3, -1},           {100000, 100000, 7, 1428571429},
  };
  for (const Case &c : cases) {
    EXPECT_EQ(rv::os::mul_div(c.a, c.b, c.c), c.expected) << c.a << "*" << c.b << "/" << c.c;
  }
}

TEST(TempNames, FormAndCreate) {
  std::string name;
  EXPECT_EQ(rv::os::temp_file_name("/some/dir", "rvkXYZ", 0x1A2B, &name), 0x1A2Bu);
  EXPECT_EQ(name, "/some/dir/rvk1A2B.TMP");
  const std::string dir = rv::os::temp_directory();
  ASSERT_EQ(dir.back(), '/');
  std::string first, second;
  ASSERT_NE(rv::os::temp_file_name(dir.c_str(), "rv", 0, &first), 0u);
  ASSERT_NE(rv::os::temp_file_name(dir.c_str(), "rv", 0, &second), 0u);
  EXPECT_NE(first, second);
  rv::os::FileAttributes attributes{};
  EXPECT_TRUE(rv::os::file_attributes(first.c_str(), &attributes));  // made empty
  EXPECT_EQ(attributes.size, 0u);
  EXPECT_TRUE(rv::os::delete_file(first.c_str()));
  EXPECT_TRUE(rv::os::delete_file(second.c_str()));
  EXPECT_FALSE(rv::os::delete_file(second.c_str()));
}

TEST(Files, ReadStopsAtEndAndStorageFilesVanishAtOnce) {
  const std::string path = rv::os::temp_directory() + "rvkrn_platform_file.bin";
  rv::os::File *f = rv::os::File::open(path.c_str(), rv::os::kFileRead | rv::os::kFileWrite,
                                       rv::os::Disposition::CreateAlways, rv::os::DeleteOnClose::Now);
  ASSERT_NE(f, nullptr);
  EXPECT_FALSE(rv::os::file_attributes(path.c_str(), nullptr));  // already unlinked
  EXPECT_EQ(f->write("abcdef", 6), 6);
  EXPECT_TRUE(f->set_size(10));
  int64_t pos = -1;
  EXPECT_TRUE(f->seek(-4, rv::os::SeekFrom::End, &pos));
  EXPECT_EQ(pos, 6);
  char buf[16];
  EXPECT_EQ(f->read(buf, sizeof buf), 4);  // stops at the end of the file
  EXPECT_FALSE(f->seek(-1, rv::os::SeekFrom::Begin, nullptr));
  uint64_t size = 0;
  EXPECT_TRUE(f->size(&size));
  EXPECT_EQ(size, 10u);
  f->release();
  EXPECT_EQ(rv::os::File::open(path.c_str(), rv::os::kFileRead, rv::os::Disposition::OpenExisting,
                               rv::os::DeleteOnClose::No),
            nullptr);
}

TEST(Files, RenameAndFreeSpace) {
  const std::string dir = rv::os::temp_directory();
  const std::string a = dir + "rvkrn_rename_a", b = dir + "rvkrn_rename_b";
  for (const std::string &p : {a, b}) {
    rv::os::File *f = rv::os::File::open(p.c_str(), rv::os::kFileWrite,
                                         rv::os::Disposition::CreateAlways, rv::os::DeleteOnClose::No);
    ASSERT_NE(f, nullptr);
    f->release();
  }
  EXPECT_FALSE(rv::os::rename_file(a.c_str(), b.c_str(), false));
  EXPECT_TRUE(rv::os::rename_file(a.c_str(), b.c_str(), true));
  EXPECT_FALSE(rv::os::file_attributes(a.c_str(), nullptr));
  rv::os::delete_file(b.c_str());
  uint64_t free_bytes = 0, total = 0;
  EXPECT_TRUE(rv::os::disk_free_space(dir.c_str(), &free_bytes, &total, nullptr));
  EXPECT_GT(total, 0u);
}

TEST(Sync, FallbackReaderLockExcludesASecondReader) {
  rv::os::RwLock normal;
  EXPECT_FALSE(normal.uses_fallback());
  normal.lock_shared();
  std::atomic<bool> second_reader_in{false};
  std::thread([&] {
    normal.lock_shared();
    second_reader_in = true;
    normal.unlock_shared();
  }).join();
  EXPECT_TRUE(second_reader_in);
  normal.unlock_shared();

  rv::os::RwLock::force_fallback(true);
  rv::os::RwLock fallback;
  rv::os::RwLock::force_fallback(false);
  EXPECT_TRUE(fallback.uses_fallback());
  fallback.lock_shared();
  std::atomic<bool> entered{false};
  std::thread reader([&] {
    fallback.lock_shared();
    entered = true;
    fallback.unlock_shared();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_FALSE(entered);
  fallback.unlock_shared();
  reader.join();
  EXPECT_TRUE(entered);
}

uint64_t fixed_clock() { return 123456; }

TEST(Clock, TestsCanDriveTime) {
  const uint64_t a = rv::os::tick_count_ms();
  rv::os::set_tick_source(&fixed_clock);
  EXPECT_EQ(rv::os::tick_count_ms(), 123456u);
  rv::os::set_tick_source(nullptr);
  EXPECT_GE(rv::os::tick_count_ms(), a);
  EXPECT_GE(rv::os::processor_count(), 1u);
  EXPECT_GE(rv::os::page_size(), 4096u);
}

struct Captured {
  std::string function, message;
};
void capture(const char *function, const char *message, void *user) {
  auto *c = static_cast<Captured *>(user);
  c->function = function;
  c->message = message;
}

TEST(TraceOutput, GoesToTheInstalledSinkOnly) {
  Trace("Nobody", "dropped %d", 1);  // no sink: nothing happens
  Captured got;
  rv::os::TraceSink old = rv::os::set_trace_sink(&capture, &got);
  Trace("Rv_GetBitmapRow", "pBitmap->nLockCount = %d\r\n", -1);
  rv::os::set_trace_sink(old, nullptr);
  EXPECT_EQ(got.function, "Rv_GetBitmapRow");
  EXPECT_EQ(got.message, "pBitmap->nLockCount = -1\r\n");
}

}  // namespace
