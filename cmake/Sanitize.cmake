# CORVEX_SANITIZE: a comma list for -fsanitize ("address,undefined" or "thread"); empty for none.

set(CORVEX_SANITIZE "" CACHE STRING "sanitizers for every target, as -fsanitize takes them")
if(CORVEX_SANITIZE)
  add_compile_options(-fsanitize=${CORVEX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${CORVEX_SANITIZE})
  if(CORVEX_SANITIZE MATCHES undefined)
    # The module has no type information for this check, which also those need who use its classes.
    add_compile_options(-fno-sanitize=vptr)
    add_link_options(-fno-sanitize=vptr)
  endif()
else()
  # A sanitizer's runtime is found at load time only, so this check is for plain builds.
  add_link_options(-Wl,--no-undefined)
endif()
if(CORVEX_BUILD_FUZZERS)
  # Everything that a fuzz target reaches tells it what it has reached.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
