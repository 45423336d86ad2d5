# corvex_inject_faults(TARGET): sends the calls that tests/support/faults.cpp fails on demand there.
function(corvex_inject_faults target)
  foreach(symbol malloc calloc strdup str_parms_create str_parms_create_str str_parms_to_str
      memset_s pthread_mutex_lock pthread_mutex_unlock pthread_cond_timedwait
      clock_gettime usleep)
    target_link_options(${target} PRIVATE -Wl,--wrap=${symbol})
  endforeach()
endfunction()
