# corvex_fake_hdo(TARGET): sends the module's calls of the direct back end to tests/support/fake_hdo.cpp.
function(corvex_fake_hdo target)
  foreach(name init deinit create open write get_buffer_size get_latency get_tstamp pause resume
      flush drain close destroy create_hwsync_source destroy_hwsync_source)
    target_link_options(${target} PRIVATE -Wl,--wrap=hdo_${name})
  endforeach()
endfunction()
