# Tests of the .dta, .sas7bdat and .xpt readers; those that run the program
# need it and the procedure module built.
codebook_add_test(formats_fixtures_test
  SOURCES formats_fixtures_test.cpp formats_malformed_test.cpp formats_program_test.cpp
  LIBS cb_data)
add_dependencies(formats_fixtures_test codebook codebook_module)

# The readers on files made here (every .dta release and byte order, the
# SAS layouts), and the mapping's decisions.
codebook_add_test(formats_reader_test
  SOURCES dta_releases_test.cpp sas_layouts_test.cpp formats_mapping_test.cpp sas7bdat_decompress_test.cpp
          sas7bdat_compressed_test.cpp
  LIBS cb_data cb_output)
