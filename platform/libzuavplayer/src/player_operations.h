// The operations of IZuAvPlayer: transaction code, method, and what its arguments are. In<n> and
// Out<n> are structures whose length is argument n, counted from 0.
#pragma once

#include <zuavplayer/IZuAvPlayer.h>

#include "operation.h"

namespace android::zuavplayer {

// An operation a line:
// clang-format off
using PlayerOperations = OperationList<
    Operation<1, &IZuAvPlayer::SYS_Init>,
    Operation<2, &IZuAvPlayer::Init>,
    Operation<3, &IZuAvPlayer::DeInit>,
    Operation<4, &IZuAvPlayer::RegisterAcodecLib, Text>,
    Operation<5, &IZuAvPlayer::FoundSupportDecoder, Word, OutWord>,
    Operation<6, &IZuAvPlayer::GetDefaultConfig, Out<2>, Int, Word>,
    Operation<7, &IZuAvPlayer::Create, In<2>, OutWord, Word>,
    Operation<8, &IZuAvPlayer::Destroy, Word>,
    Operation<9, &IZuAvPlayer::RegisterEvent64, Word, Int, Object<IZuAvplayerObserver>>,
    Operation<10, &IZuAvPlayer::GetAttr, Word, Int, Out<3>, Word>,
    Operation<11, &IZuAvPlayer::SetAttr, Word, Int, In<3>, Word>,
    Operation<12, &IZuAvPlayer::GetAdecOutFrameInfo, Word, OutWord, OutWord>,
    Operation<13, &IZuAvPlayer::SetAdecOutBufSize, Word, Word>,
    Operation<14, &IZuAvPlayer::ChnOpen, Word, Int, In<3>, Word>,
    Operation<15, &IZuAvPlayer::ChnClose, Word, Int>,
    Operation<16, &IZuAvPlayer::GetBuf, Word, Int, Word, Word>,
    Operation<17, &IZuAvPlayer::PutBufEx, Word, Int, Word, Word>,
    Operation<18, &IZuAvPlayer::Start, Word, Int, In<3>, Word>,
    Operation<19, &IZuAvPlayer::Stop, Word, Int, In<3>, Word>,
    Operation<20, &IZuAvPlayer::Pause, Word, In<2>, Word>,
    Operation<21, &IZuAvPlayer::Resume, Word, In<2>, Word>,
    Operation<22, &IZuAvPlayer::GetStreamInfo, Word, Out<2>, Word>,
    Operation<23, &IZuAvPlayer::SetTunnelMode, Word, Int, Flag>,
    Operation<24, &IZuAvPlayer::SetHDRInfo, Word, In<2>, Word, Flag, Word>,
    Operation<25, &IZuAvPlayer::GetHDRInfo, Word, Out<2>, Word>,
    Operation<26, &IZuAvPlayer::SetAdecAttr, Word, Word, Half, Word, Int>,
    Operation<27, &IZuAvPlayer::SetSndLatency, Word, Word>,
    Operation<28, &IZuAvPlayer::SndInit, Word>,
    Operation<29, &IZuAvPlayer::SndDeInit, Word>,
    Operation<30, &IZuAvPlayer::GetTrackDefAttr, Word, Out<2>, Word>,
    Operation<31, &IZuAvPlayer::CreateTrack, Word, In<3>, OutWord, Word>,
    Operation<32, &IZuAvPlayer::DestroyTrack, Word>,
    Operation<33, &IZuAvPlayer::GetDelayMs, Word, OutWord>,
    Operation<34, &IZuAvPlayer::AttachSnd, Word, Word>,
    Operation<35, &IZuAvPlayer::DetachSnd, Word, Word>,
    Operation<36, &IZuAvPlayer::VO_Init, Int>,
    Operation<37, &IZuAvPlayer::VO_DeInit>,
    Operation<38, &IZuAvPlayer::VO_CreateWindow, In<2>, OutWord, Word>,
    Operation<39, &IZuAvPlayer::VO_AttachWindow, Word, Word>,
    Operation<40, &IZuAvPlayer::VO_SetWindowEnable, Word, Flag>,
    Operation<41, &IZuAvPlayer::VO_DetachWindow, Word, Word>,
    Operation<42, &IZuAvPlayer::VO_DestroyWindow, Word>,
    Operation<44, &IZuAvPlayer::SetShareMemory, Object<IMemory>>,
    Operation<45, &IZuAvPlayer::FlushStream, Word, In<2>, Word>,
    Operation<46, &IZuAvPlayer::VO_SetRotation, Word, Word>,
    Operation<47, &IZuAvPlayer::GetAudioPlaytime, Word, OutWord, OutWord>,
    Operation<48, &IZuAvPlayer::SndGetMsFeature, Word>,
    Operation<49, &IZuAvPlayer::RM_init>,
    Operation<50, &IZuAvPlayer::RM_Deinit>,
    Operation<51, &IZuAvPlayer::RM_RegisterCallback, Cookie, Object<IZuAvplayerObserver>, Word>,
    Operation<52, &IZuAvPlayer::RM_UnRegisterCallback, Cookie>,
    Operation<53, &IZuAvPlayer::CheckCloseState, Word, OutWord>>;
// clang-format on

}  // namespace android::zuavplayer
