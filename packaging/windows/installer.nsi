; The installer for Windows: makensis -DVERSION= -DFILES= -DHELPER= -DOUTPUT= installer.nsi
; FILES is the folder that is installed, HELPER the program that changes PATH. /S installs without questions, /D=FOLDER
; elsewhere.

Target amd64-unicode
!include MUI2.nsh
!include x64.nsh

!define UNINSTALL "Software\Microsoft\Windows\CurrentVersion\Uninstall\zforms"

Name "zforms ${VERSION}"
OutFile "${OUTPUT}"
InstallDir "$PROGRAMFILES64\zforms"
RequestExecutionLevel admin
SetCompressor /SOLID lzma
ManifestSupportedOS Win10
VIProductVersion "${VERSION}.0"
VIAddVersionKey ProductName "zforms"
VIAddVersionKey FileDescription "Installs zforms"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey LegalCopyright "MIT licence"

!insertmacro MUI_PAGE_LICENSE "${FILES}/LICENSE.txt"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"
!insertmacro MUI_LANGUAGE "French"

; Runs the helper that is installed; stops when it fails.
!macro ChangePath what
  nsExec::Exec '"$INSTDIR\bin\path_entry.exe" ${what} "$INSTDIR\bin"'
  Pop $0
  StrCmp $0 0 +2
  DetailPrint "PATH could not be changed"
!macroend

Section
  SetRegView 64
  SetOutPath "$INSTDIR"
  File /r "${FILES}/*"
  SetOutPath "$INSTDIR\bin"
  File "${HELPER}"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr HKLM "${UNINSTALL}" "DisplayName" "zforms"
  WriteRegStr HKLM "${UNINSTALL}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL}" "NoRepair" 1
  !insertmacro ChangePath add
SectionEnd

; Removes what was installed, and nothing that others put into the folder.
Section Uninstall
  SetRegView 64
  !insertmacro ChangePath remove
  Delete "$INSTDIR\bin\zforms.exe"
  Delete "$INSTDIR\bin\zforms.dll"
  Delete "$INSTDIR\bin\path_entry.exe"
  RMDir "$INSTDIR\bin"
  RMDir /r "$INSTDIR\include\zforms"
  RMDir "$INSTDIR\include"
  RMDir /r "$INSTDIR\lib\cmake\zforms"
  RMDir "$INSTDIR\lib\cmake"
  Delete "$INSTDIR\lib\pkgconfig\zforms.pc"
  RMDir "$INSTDIR\lib\pkgconfig"
  Delete "$INSTDIR\lib\libzforms.dll.a"
  Delete "$INSTDIR\lib\zforms.lib"
  Delete "$INSTDIR\lib\zforms.def"
  RMDir "$INSTDIR\lib"
  RMDir /r "$INSTDIR\share\zforms"
  RMDir /r "$INSTDIR\share\doc\zforms"
  RMDir "$INSTDIR\share\doc"
  RMDir "$INSTDIR\share"
  RMDir /r "$INSTDIR\licences"
  Delete "$INSTDIR\LICENSE.txt"
  Delete "$INSTDIR\README.md"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  DeleteRegKey HKLM "${UNINSTALL}"
SectionEnd
