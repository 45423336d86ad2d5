# CORVEX_SANITIZE: a comma list for -fsanitize ("address,undefined" or "thread"); empty for none.

set(CORVEX_SANITIZE "" CACHE STRING "sanitizers for every target, as -fsanitize takes them")
if(CORVEX_SANITIZE)
  add_compile_options(-fsanitize=${CORVEX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${CORVEX_SANITIZE})
else()
  # A sanitizer's runtime is found at load time only, so this check is for plain builds.
  add_link_options(-Wl,--no-undefined)
endif()
