#include "LibraryTestSupport.h"

#include <gtest/gtest.h>

#include "Library/HostHooks.h"

namespace LibraryTest {
namespace {

int gExpectDepth = 0;
std::vector<AssertRecord> gRecords;
std::string gSerial;

void RecordAssert(const CHAR8 *File, UINTN Line, const CHAR8 *Description) {
  auto Text = [](const CHAR8 *Chars) {
    return Chars != nullptr ? reinterpret_cast<const char *>(Chars) : "";
  };
  AssertRecord Record{Text(File), Line, Text(Description)};
  if (gExpectDepth == 0) {
    ADD_FAILURE() << "unexpected ASSERT " << Record.File << "(" << Line << "): " << Record.Description;
  }
  gRecords.push_back(Record);
}

void CollectSerial(const UINT8 *Bytes, UINTN Count) {
  gSerial.append(reinterpret_cast<const char *>(Bytes), Count);
}

// Every library test runs with recording assertions, so a library assertion is a test failure
// unless the test expects it.
class AssertEnvironment : public ::testing::Environment {
public:
  void SetUp() override { HostSetAssertHandler(RecordAssert); }
};

const auto *const gEnvironment = ::testing::AddGlobalTestEnvironment(new AssertEnvironment);

} // namespace

ExpectAsserts::ExpectAsserts() {
  HostSetAssertHandler(RecordAssert);
  gExpectDepth++;
  gRecords.clear();
}
ExpectAsserts::~ExpectAsserts() {
  gExpectDepth--;
}
const std::vector<AssertRecord> &ExpectAsserts::Records() const {
  return gRecords;
}

CaptureSerial::CaptureSerial() {
  gSerial.clear();
  HostSetSerialSink(CollectSerial);
}
CaptureSerial::~CaptureSerial() {
  HostSetSerialSink(nullptr);
}
std::string CaptureSerial::Text() const {
  return gSerial;
}

} // namespace LibraryTest
