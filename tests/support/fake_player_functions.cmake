# corvex_fake_player_functions(TARGET): sends the module's calls of the player service to
# tests/support/fake_player_functions.cpp.
function(corvex_fake_player_functions target)
  foreach(name Open Close SYS_Init Init DeInit RegisterAcodecLib GetCblk GetDefaultConfig Create
      Destroy GetAttr SetAttr GetAdecOutFrameInfo SetAdecOutBufSize ChnOpen ChnClose GetBuf PutBufEx
      Start Stop Pause Resume SetAdecAttr DetachSnd AttachSnd DestroyTrack CreateTrack
      GetTrackDefAttr SetSndLatency SndInit SndDeInit)
    target_link_options(${target} PRIVATE -Wl,--wrap=ZUAVPLAYER_${name})
  endforeach()
endfunction()
