# The .sas7bdat and .xpt readers, part of the data library.
target_sources(cb_data PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/read_sas7bdat.cpp
  ${CMAKE_CURRENT_LIST_DIR}/read_xpt.cpp
  ${CMAKE_CURRENT_LIST_DIR}/sas7bdat_decompress.cpp
  ${CMAKE_CURRENT_LIST_DIR}/sas7bdat_layout.cpp
  ${CMAKE_CURRENT_LIST_DIR}/sas_catalog.cpp
  ${CMAKE_CURRENT_LIST_DIR}/sas_dictionary.cpp
  ${CMAKE_CURRENT_LIST_DIR}/sas_formats.cpp
  ${CMAKE_CURRENT_LIST_DIR}/xpt_layout.cpp
)
