; The Kestrova installer: the control library, its data sheets, and its registration.
; makensis -DOCX64=... -DMANUAL=... -DVERSION=... -DOUTFILE=... [-DOCX32=...] Kestrova.nsi
Unicode true
Target amd64-unicode
SetCompressor /SOLID lzma

!ifndef VERSION
  !define VERSION "0.1.0"
!endif
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Kestrova"

Name "Kestrova ${VERSION}"
OutFile "${OUTFILE}"
InstallDir "$PROGRAMFILES64\Kestrova"
RequestExecutionLevel admin
ShowInstDetails show
ShowUninstDetails show

Page directory
Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

Section "Kestrova"
  SetRegView 64
  SetOutPath "$INSTDIR"
  File "${OCX64}"
  SetOutPath "$INSTDIR\Manual"
  File "${MANUAL}\*.pdf"
  ; The control registers its own keys, and only its own.
  ExecWait '"$SYSDIR\regsvr32.exe" /s "$INSTDIR\Kestrova.ocx"' $0
  StrCmp $0 "0" +2
    Abort "Kestrova.ocx could not be registered (regsvr32 exit $0)."
!ifdef OCX32
  ; 32-bit frames load the 32-bit library, registered in the 32-bit view.
  SetOutPath "$INSTDIR\x86"
  File "${OCX32}"
  ExecWait '"$WINDIR\SysWOW64\regsvr32.exe" /s "$INSTDIR\x86\Kestrova.ocx"'
!endif
  WriteUninstaller "$INSTDIR\Uninstall.exe"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayName" "Kestrova IO-Link USB Master DTM GUI"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "Publisher" "Kestrova"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\Uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\Uninstall.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoRepair" 1
SectionEnd

Section "Uninstall"
  SetRegView 64
  ExecWait '"$SYSDIR\regsvr32.exe" /u /s "$INSTDIR\Kestrova.ocx"'
  Delete "$INSTDIR\Kestrova.ocx"
  IfFileExists "$INSTDIR\x86\Kestrova.ocx" 0 +3
    ExecWait '"$WINDIR\SysWOW64\regsvr32.exe" /u /s "$INSTDIR\x86\Kestrova.ocx"'
    Delete "$INSTDIR\x86\Kestrova.ocx"
  RMDir "$INSTDIR\x86"
  Delete "$INSTDIR\Manual\*.pdf"
  RMDir "$INSTDIR\Manual"
  Delete "$INSTDIR\Uninstall.exe"
  RMDir "$INSTDIR"
  DeleteRegKey HKLM "${UNINSTALL_KEY}"
SectionEnd
