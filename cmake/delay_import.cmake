# DLLs that the launcher loads at their first use instead of at its start. Most
# starts need few of them, and a DLL loaded by our own helper comes from Windows'
# system folder alone, never from the folder that the player unpacked.
#
# kov_system: the same DLLs linked in the usual way, for tests.
add_library(kov_system INTERFACE)
target_link_libraries(kov_system INTERFACE
  winhttp ws2_32 shell32 user32 advapi32 iphlpapi ole32 oleaut32)

# kov_delay_import(<dll name without .dll> <function>...): an import library whose
# functions load the DLL when the first of them is called; gathers in kov_delayed.
add_library(kov_delayed INTERFACE)
if(MINGW)
  target_sources(kov_delayed INTERFACE ${CMAKE_SOURCE_DIR}/toolchain/delay_load_win.cpp)
endif()

function(kov_delay_import dll)
  if(NOT MINGW)
    target_link_libraries(kov_delayed INTERFACE ${dll} delayimp)
    target_link_options(kov_delayed INTERFACE
      /DELAYLOAD:${dll}.dll /DEPENDENTLOADFLAG:0x800)
    return()
  endif()
  list(JOIN ARGN "\n" functions)
  set(base ${CMAKE_CURRENT_BINARY_DIR}/delay_${dll})
  file(CONFIGURE OUTPUT ${base}.def @ONLY
    CONTENT "LIBRARY ${dll}.dll\nEXPORTS\n@functions@\n")
  add_custom_command(OUTPUT ${base}.a
    COMMAND x86_64-w64-mingw32-dlltool -m i386:x86-64 -d ${base}.def -y ${base}.a
    DEPENDS ${base}.def VERBATIM)
  add_custom_target(delay_${dll} DEPENDS ${base}.a)
  add_dependencies(kov_delayed delay_${dll})
  target_link_libraries(kov_delayed INTERFACE ${base}.a)
endfunction()

kov_delay_import(winhttp
  WinHttpCloseHandle WinHttpConnect WinHttpCrackUrl WinHttpOpen WinHttpOpenRequest
  WinHttpQueryHeaders WinHttpReadData WinHttpReceiveResponse WinHttpSendRequest
  WinHttpSetOption)
kov_delay_import(ws2_32
  WSACleanup WSAIoctl WSAStartup closesocket connect htonl htons recv send socket)
kov_delay_import(ole32 CoCreateInstance CoInitializeEx CoSetProxyBlanket CoUninitialize)
kov_delay_import(shell32 SHGetFolderPathW ShellExecuteExA)
kov_delay_import(user32
  CreateWindowExW DefWindowProcW DestroyWindow DispatchMessageW DrawTextW EnableWindow FillRect
  GetClientRect GetDlgCtrlID GetDpiForWindow GetFocus GetKeyState GetMessageW GetMonitorInfoW
  GetNextDlgTabItem GetSysColor GetSystemMetricsForDpi GetWindow GetWindowLongPtrW GetWindowRect
  GetWindowTextLengthW GetWindowTextW IsDialogMessageW IsWindow LoadCursorW LoadIconW MessageBoxA
  MessageBoxW MonitorFromWindow PostMessageW PostQuitMessage RedrawWindow RegisterClassW
  SendMessageW SetCursor SetFocus SetWindowLongPtrW SetWindowPos SetWindowTextW ShowScrollBar
  ShowWindow SystemParametersInfoForDpi SystemParametersInfoW TranslateMessage)
kov_delay_import(advapi32 RegCloseKey RegOpenKeyExW RegQueryValueExW)

# What only the companion calls; of the DLLs above, too, whatever a window needs. Windows takes
# the name comctl32.dll for the version that the program's manifest asks for before it looks
# into any folder, so that the system folder's version 5 is not what is loaded.
kov_delay_import(comctl32
  ImageList_Create ImageList_Destroy InitCommonControlsEx TaskDialogIndirect)
kov_delay_import(comdlg32 GetOpenFileNameW)
kov_delay_import(dwmapi DwmSetWindowAttribute)
kov_delay_import(gdi32 CreateFontIndirectW CreateSolidBrush DeleteObject SetBkColor SetTextColor)
kov_delay_import(uxtheme SetWindowTheme)
kov_delay_import(iphlpapi GetExtendedTcpTable)
kov_delay_import(oleaut32 SysAllocString SysFreeString VariantClear)
