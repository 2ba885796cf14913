# Tests of the dataset file reader and writer.
codebook_add_test(sav_test
  SOURCES
    sav_test_util.cpp
    sav_fixtures_test.cpp
    sav_malformed_test.cpp
    sav_roundtrip_test.cpp
    sav_bytecode_test.cpp
    sav_quirks_test.cpp
    sav_text_encoding_test.cpp
  LIBS cb_data)
