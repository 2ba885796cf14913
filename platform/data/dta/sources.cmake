# The .dta reader, part of the data library.
target_sources(cb_data PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/dta_case_stream.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dta_layout.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dta_layout_binary.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dta_layout_tagged.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dta_mapping.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dta_strls.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dta_value_labels.cpp
  ${CMAKE_CURRENT_LIST_DIR}/read_dta.cpp
)
