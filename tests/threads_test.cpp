// Packers on several threads at once, as a host runs them (and as Python does, whose pack lets go
// of the interpreter lock while it parses). Built with ThreadSanitizer together with the packer's
// sources, so that any data race fails the test.
#include <gtest/gtest.h>

#include <thread>

#include <xercesc/util/PlatformUtils.hpp>

#include "quillon/GenXMLInterface.h"
#include "tests/Files.h"

namespace {

TEST(ThreadsTest, PackersAndCopiesOnTwoThreadsShareNothingUnsafely) {
  xercesc::XMLPlatformUtils::Initialize();
  {
    const CString path(Temp().Write("doc.xml", "<a><b x='1'/>text</a>").c_str());
    CGenXMLInterface shared(path, 0, CString());
    auto work = [&] {
      for (int i = 0; i < 20; i++) {
        CGenXMLInterface xml(path, 0, CString());  // writes the module-wide setting, which...
        int nSize = 0;
        EXPECT_EQ(xml.PreParseForSize(nSize), 6);  // ...every parse reads
        CGenXMLInterface copy(shared);  // copies of one object come and go on both threads
      }
    };
    std::thread first(work), second(work);
    first.join();
    second.join();
  }
  xercesc::XMLPlatformUtils::Terminate();
}

}  // namespace
