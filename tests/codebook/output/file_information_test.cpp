// The File Information table's name and location, split from the path the
// dataset was read from at its last slash; a file in the root folder (no
// slash beyond the first character) has neither.
#include <gtest/gtest.h>

#include <string>

#include "procedure_run.h"

namespace {

TEST(FileInformation, NameAndLocationComeFromThePath) {
  const struct {
    const char* path;
    const char* outline;
  } cases[] = {
      {"/data/survey.sav", "File Information\n  File Name: survey.sav\n  Location: /data\n"},
      {"/a/b/c.zsav", "File Information\n  File Name: c.zsav\n  Location: /a/b\n"},
      {"/data/", "File Information\n  File Name:\n  Location: /data\n"},
      {"/survey.sav", "File Information\n  File Name: <none>\n  Location: <none>\n"},
      {"survey.sav", "File Information\n  File Name: <none>\n  Location: <none>\n"},
      {"", "File Information\n  File Name: <none>\n  Location: <none>\n"},
  };
  for (const auto& c : cases) {
    cbtest::DatasetBuilder builder;
    builder.Numeric("x").Cases({{1}});
    if (*c.path != '\0') builder.FileSpec(c.path);
    EXPECT_EQ(cbtest::Outline(cbtest::RunProcedure(builder.Build(), "CODEBOOK x /VARINFO POSITION /FILEINFO NAME LOCATION "
                                                                    "/STATISTICS NONE.")),
              std::string(c.outline) + "x\n  Standard Attributes / Position: 1\n")
        << c.path;
  }
}

}  // namespace
