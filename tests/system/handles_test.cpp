#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "internal/handles.h"
#include "platform/file.h"
#include "platform/section.h"
#include "ruvokit/rvkrn.h"

namespace {

std::u16string temp_name(const char *leaf) {
  std::string path = rv::os::temp_directory() + "rvkrn_handles_" + leaf;
  return std::u16string(path.begin(), path.end());
}

bool exists(const std::u16string &name) {
  std::string path(name.begin(), name.end());
  return rv::os::file_attributes(path.c_str(), nullptr);
}

TEST(Handles, ZeroAndMinusOneAreNotObjects) {
  EXPECT_EQ(Rv_WinCloseHandle(nullptr), FALSE);
  EXPECT_EQ(Rv_WinCloseHandle(RV_INVALID_HANDLE), FALSE);
  EXPECT_EQ(Rv_WinDeleteObject(nullptr), FALSE);
  EXPECT_EQ(Rv_WinDeleteObject(RV_INVALID_HANDLE), FALSE);
  EXPECT_EQ(Rv_WinWaitForSingleObject(nullptr, 0), RV_WAIT_FAILED);
}

TEST(Handles, FileHandleReadsBackThroughAMapping) {
  const std::u16string name = temp_name("map.bin");
  RVHANDLE file = Rv_WinCreateFileW(name.c_str(), RV_GENERIC_READ | RV_GENERIC_WRITE, 0, nullptr,
                                    RV_CREATE_ALWAYS, RV_FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(file, RV_INVALID_HANDLE);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(static_cast<WINHANDLE *>(file)->nKind, WINHANDLE_KIND_PLATFORM);
  RVHANDLE mapping = Rv_WinCreateFileMappingW(file, nullptr, RV_PAGE_READWRITE, 0, 8192, nullptr);
  ASSERT_NE(mapping, nullptr);
  auto *section = static_cast<rv::os::Section *>(rv::platform_object(mapping));
  auto *view = static_cast<uint8_t *>(section->map(4100, 10));
  ASSERT_NE(view, nullptr);
  std::memcpy(view, "section!", 8);
  EXPECT_TRUE(section->unmap(view, 10));
  EXPECT_EQ(Rv_WinCloseHandle(mapping), TRUE);  // the file stays open under its own handle
  auto *os_file = static_cast<rv::os::File *>(rv::platform_object(file));
  char back[8];
  ASSERT_TRUE(os_file->seek(4100, rv::os::SeekFrom::Begin, nullptr));
  EXPECT_EQ(os_file->read(back, 8), 8);
  EXPECT_EQ(std::memcmp(back, "section!", 8), 0);
  EXPECT_EQ(Rv_WinCloseHandle(file), TRUE);
  std::string path(name.begin(), name.end());
  rv::os::delete_file(path.c_str());
}

TEST(Handles, FailedOpenGivesMinusOneAndDeleteOnCloseRemovesTheFile) {
  const std::u16string missing = temp_name("does_not_exist/x");
  EXPECT_EQ(Rv_WinCreateFileW(missing.c_str(), RV_GENERIC_READ, 0, nullptr, RV_OPEN_EXISTING, 0,
                              nullptr),
            RV_INVALID_HANDLE);
  EXPECT_EQ(Rv_WinGetLastError(), 3u);  // path not found
  EXPECT_EQ(Rv_WinCreateFileW(nullptr, RV_GENERIC_READ, 0, nullptr, RV_OPEN_EXISTING, 0, nullptr),
            RV_INVALID_HANDLE);
  const std::u16string name = temp_name("doc.tmp");
  RVHANDLE file = Rv_WinCreateFileW(name.c_str(), RV_GENERIC_WRITE, 0, nullptr, RV_CREATE_ALWAYS,
                                    RV_FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  ASSERT_NE(file, RV_INVALID_HANDLE);
  RVHANDLE copy = nullptr;
  ASSERT_EQ(Rv_WinDuplicateHandle(nullptr, file, nullptr, &copy, 0, FALSE, 0), TRUE);
  EXPECT_TRUE(exists(name));
  EXPECT_EQ(Rv_WinCloseHandle(file), TRUE);
  EXPECT_TRUE(exists(name));  // the duplicate keeps the file open
  EXPECT_EQ(Rv_WinCloseHandle(copy), TRUE);
  EXPECT_FALSE(exists(name));
}

TEST(Handles, AnonymousSectionKeepsItsContentsBetweenViews) {
  RVHANDLE mapping =
      Rv_WinCreateFileMappingW(RV_INVALID_HANDLE, nullptr, RV_PAGE_READWRITE, 0, 1 << 16, nullptr);
  ASSERT_NE(mapping, nullptr);
  auto *section = static_cast<rv::os::Section *>(rv::platform_object(mapping));
  auto *a = static_cast<uint8_t *>(section->map(100, 16));
  a[0] = 9;
  section->unmap(a, 16);
  auto *b = static_cast<uint8_t *>(section->map(96, 16));
  EXPECT_EQ(b[4], 9);
  EXPECT_EQ(section->map(1 << 16, 1), nullptr);  // past the end
  Rv_WinCloseHandle(mapping);
}

uint32_t thread_body(void *p) {
  RVHANDLE event = *static_cast<RVHANDLE *>(p);
  Rv_WinWaitForSingleObject(event, RV_INFINITE);
  return 77;
}

TEST(Handles, ThreadsEventsAndMutexes) {
  RVHANDLE event = Rv_WinCreateEventW(nullptr, TRUE, FALSE, nullptr);
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(Rv_WinWaitForSingleObject(event, 0), RV_WAIT_TIMEOUT);
  RVHANDLE thread = Rv_RuvoThreadCreateAndRun(&thread_body, &event);
  ASSERT_NE(thread, nullptr);
  uint32_t code = 0;
  EXPECT_EQ(Rv_WinGetExitCodeThread(thread, &code), TRUE);
  EXPECT_EQ(code, 259u);  // still waiting
  Rv_WinSetEvent(event);
  EXPECT_EQ(Rv_WinWaitForSingleObject(thread, RV_INFINITE), RV_WAIT_OBJECT_0);
  EXPECT_EQ(Rv_WinGetExitCodeThread(thread, &code), TRUE);
  EXPECT_EQ(code, 77u);
  Rv_WinResetEvent(event);
  EXPECT_EQ(Rv_WinWaitForSingleObject(event, 1), RV_WAIT_TIMEOUT);
  EXPECT_EQ(Rv_WinSetEvent(thread), FALSE);  // not an event
  RVHANDLE mutex = Rv_WinCreateMutexW(nullptr, TRUE, nullptr);
  EXPECT_EQ(Rv_WinWaitForSingleObject(mutex, 0), RV_WAIT_OBJECT_0);  // recursive for its owner
  EXPECT_EQ(Rv_WinReleaseMutex(mutex), TRUE);
  EXPECT_EQ(Rv_WinReleaseMutex(mutex), TRUE);
  for (RVHANDLE h : {event, thread, mutex}) EXPECT_EQ(Rv_WinCloseHandle(h), TRUE);
}

int32_t g_closed_kind = 0;
int32_t record_close(void *object) {
  g_closed_kind = *static_cast<int32_t *>(object);
  return TRUE;
}

TEST(Handles, RegionAndDrawingKindsCloseThroughInstalledFunctions) {
  int32_t region[2] = {WINHANDLE_KIND_REGION, 0};
  int32_t drawing[2] = {7, 0};
  EXPECT_EQ(Rv_WinDeleteObject(region), FALSE);  // nothing installed yet
  rv::ObjectCloser old_region = rv::set_object_closer(WINHANDLE_KIND_REGION, &record_close);
  rv::ObjectCloser old_drawing = rv::set_object_closer(7, &record_close);
  EXPECT_EQ(Rv_WinDeleteObject(region), TRUE);
  EXPECT_EQ(g_closed_kind, WINHANDLE_KIND_REGION);
  EXPECT_EQ(Rv_WinCloseHandle(drawing), TRUE);
  EXPECT_EQ(g_closed_kind, 7);
  rv::set_object_closer(WINHANDLE_KIND_REGION, old_region);
  rv::set_object_closer(7, old_drawing);
}

}  // namespace
