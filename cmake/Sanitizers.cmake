# AddressSanitizer and UndefinedBehaviorSanitizer for the whole build. Any
# report ends the program, so a sanitizer finding fails its test.
if(CODEBOOK_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  add_compile_definitions(CODEBOOK_CHECK_INVARIANTS)  # the platform's invariants, checked as in debug builds
endif()

# ThreadSanitizer, for the part that runs on a second thread (the read-ahead
# stream). It cannot be combined with the above.
if(CODEBOOK_SANITIZE_THREAD)
  if(CODEBOOK_SANITIZE)
    message(FATAL_ERROR "CODEBOOK_SANITIZE and CODEBOOK_SANITIZE_THREAD exclude each other")
  endif()
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
  add_compile_definitions(CODEBOOK_CHECK_INVARIANTS)
endif()

# Line coverage, read by scripts/coverage.sh.
if(CODEBOOK_COVERAGE)
  add_compile_options(--coverage -O0)
  add_link_options(--coverage)
endif()
