# AddressSanitizer and UndefinedBehaviorSanitizer for the whole build. Any
# report ends the program, so a sanitizer finding fails its test.
if(CODEBOOK_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
