# The dataset file reader and writer, part of the data library.
target_sources(cb_data PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/byte_sink.cpp
  ${CMAKE_CURRENT_LIST_DIR}/byte_source.cpp
  ${CMAKE_CURRENT_LIST_DIR}/bytecode_decoder.cpp
  ${CMAKE_CURRENT_LIST_DIR}/bytecode_encoder.cpp
  ${CMAKE_CURRENT_LIST_DIR}/data_stream.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/attributes.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/build_dictionary.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/case_plan.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/character_encoding.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/decode_context.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/display_parameters.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/documents.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/long_names.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/long_string_missing_values.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/long_string_value_labels.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/machine_info.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/multiple_response_sets.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/value_labels.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/variable_records.cpp
  ${CMAKE_CURRENT_LIST_DIR}/dictionary_decoder/very_long_strings.cpp
  ${CMAKE_CURRENT_LIST_DIR}/format_codes.cpp
  ${CMAKE_CURRENT_LIST_DIR}/raw_dictionary.cpp
  ${CMAKE_CURRENT_LIST_DIR}/read_dataset.cpp
  ${CMAKE_CURRENT_LIST_DIR}/record_reader.cpp
  ${CMAKE_CURRENT_LIST_DIR}/sav_case_stream.cpp
  ${CMAKE_CURRENT_LIST_DIR}/text_encoding.cpp
  ${CMAKE_CURRENT_LIST_DIR}/text_records.cpp
  ${CMAKE_CURRENT_LIST_DIR}/warnings.cpp
  ${CMAKE_CURRENT_LIST_DIR}/write_dataset.cpp
  ${CMAKE_CURRENT_LIST_DIR}/zlib_block.cpp
  ${CMAKE_CURRENT_LIST_DIR}/zlib_layout.cpp
  ${CMAKE_CURRENT_LIST_DIR}/zlib_stream.cpp
)
target_link_libraries(cb_data PRIVATE ZLIB::ZLIB Threads::Threads)
# libdeflate inflates the zlib blocks when it is there; zlib otherwise.
if(CODEBOOK_HAVE_LIBDEFLATE)
  target_link_libraries(cb_data PRIVATE PkgConfig::LIBDEFLATE)
  target_compile_definitions(cb_data PRIVATE CODEBOOK_HAVE_LIBDEFLATE)
endif()
