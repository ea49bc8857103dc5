; The installer for Windows, and the uninstaller that it leaves behind. makeInstaller in
; packaging/installer.sh gives it PROGRAM, TEXTS (a folder), VERSION and OUTPUT.
;
; It installs for the user who runs it, without an administrator, always into the same folder. Run again,
; it repairs or upgrades. docs/design/installer.md has the reasons.
;
; Exit codes of both:
;   0  done
;   1  the user has cancelled
;   2  a file could not be written or removed; run it again
;   3  only if silent: the program runs and has not ended within ten seconds; nothing has changed
;   4  installer only: a newer version is installed; nothing has changed

Target amd64-unicode
SetCompressor /SOLID lzma
SetDateSave off  ; an installed file has the time of its installation

!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include WordFunc.nsh

!searchparse "${VERSION}" "" MAJOR "." MINOR "."
!define PRODUCT "Quillgate PRO"
!define TITLE "${PRODUCT} v${MAJOR}.${MINOR}"
!define ENTRY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Quillgate"
!define SHORTCUT "$SMPROGRAMS\${PRODUCT}.lnk"
!define DATA "$LOCALAPPDATA\Quillgate"

Name "${TITLE}"
OutFile "${OUTPUT}"
InstallDir "$LOCALAPPDATA\Programs\Quillgate"
RequestExecutionLevel user
ManifestDPIAware true
BrandingText "${PRODUCT} ${VERSION}"
ShowInstDetails nevershow
ShowUninstDetails nevershow
AllowSkipFiles off

VIProductVersion "${VERSION}.0"
VIFileVersion "${VERSION}.0"
VIAddVersionKey FileDescription "${PRODUCT} Setup"
VIAddVersionKey FileVersion "${VERSION}.0"
VIAddVersionKey LegalCopyright "Copyright (c) 2026 the Quillgate authors"
VIAddVersionKey ProductName "${PRODUCT}"
VIAddVersionKey ProductVersion "${VERSION}.0"

!define MUI_ICON "../icons/quillgate.ico"
!define MUI_UNICON "../icons/quillgate.ico"
!define MUI_WELCOMEFINISHPAGE_BITMAP "../icons/setup.bmp"
!define MUI_WELCOMEPAGE_TEXT "Setup installs ${TITLE} for you alone. It needs no administrator.\
$\r$\n$\r$\nIf it is installed already, its files are replaced. Rules and log stay as they are.\
$\r$\n$\r$\n$_CLICK"
!define MUI_FINISHPAGE_RUN "$INSTDIR\quillgate.exe"
!define MUI_FINISHPAGE_NOREBOOTSUPPORT

!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

; Defines the function waitForEnd, for the installer or, with "un.", for the uninstaller. It returns when
; the installed program does not run: Windows lets nobody write to the file of a running program.
!macro defineWaitForEnd prefix
  Function ${prefix}waitForEnd
    StrCpy $1 0
    ${DoWhile} ${FileExists} "$INSTDIR\quillgate.exe"
      ClearErrors
      FileOpen $0 "$INSTDIR\quillgate.exe" a
      ${IfNot} ${Errors}
        FileClose $0
        ${Break}
      ${EndIf}
      ${If} ${Silent}
        ${If} $1 = 40
          SetErrorLevel 3
          Quit
        ${EndIf}
        Sleep 250
        IntOp $1 $1 + 1
      ${ElseIf} ${Cmd} `MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION \
          "${PRODUCT} is running. Close its main window, then press Retry." IDCANCEL`
        SetErrorLevel 1
        Quit
      ${EndIf}
    ${Loop}
  FunctionEnd
!macroend
!insertmacro defineWaitForEnd ""
!insertmacro defineWaitForEnd un.

Function .onInit
  StrCpy $INSTDIR "$LOCALAPPDATA\Programs\Quillgate"  ; whatever the command line says
  ReadRegStr $0 HKCU "${ENTRY}" DisplayVersion
  ${VersionCompare} "$0" "${VERSION}" $1
  ${If} $1 = 1
  ${AndIf} ${FileExists} "$INSTDIR\quillgate.exe"
    MessageBox MB_OK|MB_ICONSTOP "${PRODUCT} $0 is installed, which is newer than ${VERSION}.\
      $\r$\n$\r$\nTo go back, uninstall it first." /SD IDOK
    SetErrorLevel 4
    Quit
  ${EndIf}
FunctionEnd

; Puts the file with the name on the stack, which lies in the folder "new", where it belongs. Whoever
; looks finds the old file or the new one. A scanner may look at a file that has just been written, so
; this tries for two seconds.
!macro replace file
  Push ${file}
  Call replace
!macroend
Function replace
  Pop $0
  ${For} $1 1 20
    ; MOVEFILE_REPLACE_EXISTING, MOVEFILE_WRITE_THROUGH
    System::Call 'kernel32::MoveFileExW(w "$INSTDIR\new\$0", w "$INSTDIR\$0", i 9) i.r2'
    ${If} $2 <> 0
      Return
    ${EndIf}
    Sleep 100
  ${Next}
  Abort "$INSTDIR\$0 cannot be replaced."
FunctionEnd

Function removeNew
  SetOutPath "$TEMP"  ; the current folder could not be removed
  RMDir /r "$INSTDIR\new"
FunctionEnd

Function .onInstFailed
  Call removeNew
  RMDir "$INSTDIR"
FunctionEnd

Section "" installation
  Call waitForEnd
  SetOutPath "$INSTDIR\new"
  File "/oname=quillgate.exe" "${PROGRAM}"
  File "${TEXTS}/README.txt" "${TEXTS}/LICENSE.txt" "${TEXTS}/NOTICES.txt"
  ClearErrors
  WriteUninstaller "$INSTDIR\new\uninstall.exe"
  ${If} ${Errors}
    Abort "$INSTDIR\new\uninstall.exe cannot be written."
  ${EndIf}

  !insertmacro replace quillgate.exe
  !insertmacro replace README.txt
  !insertmacro replace LICENSE.txt
  !insertmacro replace NOTICES.txt
  !insertmacro replace uninstall.exe
  Call removeNew

  ClearErrors
  SetOutPath "$INSTDIR"  ; where the shortcut starts the program
  CreateShortcut "${SHORTCUT}" "$INSTDIR\quillgate.exe"
  SectionGetSize ${installation} $0
  WriteRegStr HKCU "${ENTRY}" DisplayName "${TITLE}"
  WriteRegStr HKCU "${ENTRY}" DisplayVersion "${VERSION}"
  WriteRegStr HKCU "${ENTRY}" Publisher "Quillgate authors"
  WriteRegStr HKCU "${ENTRY}" DisplayIcon "$INSTDIR\quillgate.exe"
  WriteRegStr HKCU "${ENTRY}" InstallLocation "$INSTDIR"
  WriteRegStr HKCU "${ENTRY}" UninstallString '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKCU "${ENTRY}" QuietUninstallString '"$INSTDIR\uninstall.exe" /S _?=$INSTDIR'
  WriteRegDWORD HKCU "${ENTRY}" EstimatedSize $0
  WriteRegDWORD HKCU "${ENTRY}" VersionMajor ${MAJOR}
  WriteRegDWORD HKCU "${ENTRY}" VersionMinor ${MINOR}
  WriteRegDWORD HKCU "${ENTRY}" NoModify 1
  WriteRegDWORD HKCU "${ENTRY}" NoRepair 1
  ${If} ${Errors}
    Abort "The entries for the start menu and for uninstalling cannot be written."
  ${EndIf}
SectionEnd

; A program cannot delete its own file, so the uninstaller copies itself to the folder for temporary files,
; starts the copy and ends. With _?= it works where it is, and its exit code is that of the work; then
; it starts itself once more, with /itself, to go as well.
Function un.onInit
  SetOutPath "$TEMP"  ; out of the folder that is to be removed
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 /itself $1
  ${If} ${Errors}
    Return
  ${EndIf}
  ${For} $0 1 200
    Call un.removeItself
    ${IfNot} ${FileExists} "$INSTDIR\uninstall.exe"
      Quit
    ${EndIf}
    Sleep 50
  ${Next}
  Quit
FunctionEnd

Function un.removeItself
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
FunctionEnd

Section Uninstall
  Call un.waitForEnd
  ClearErrors
  Delete "$INSTDIR\quillgate.exe"
  ${If} ${Errors}
    Abort "$INSTDIR\quillgate.exe cannot be removed."
  ${EndIf}

  ${If} ${FileExists} "${DATA}\*.*"
  ${AndIf} ${Cmd} `MessageBox MB_YESNO|MB_ICONQUESTION|MB_DEFBUTTON2 \
      "Delete your rules and the log as well?$\r$\n$\r$\nThey are in ${DATA}." /SD IDNO IDYES`
    Delete "${DATA}\config.xml"
    Delete "${DATA}\config.xml.bad"
    Delete "${DATA}\*.quillgate-new"  ; what a save that was cut off has left
    Delete "${DATA}\MonitorServer.log"
    RMDir "${DATA}"
  ${EndIf}

  Delete "$INSTDIR\README.txt"
  Delete "$INSTDIR\LICENSE.txt"
  Delete "$INSTDIR\NOTICES.txt"
  RMDir /r "$INSTDIR\new"  ; what an installation that was cut off has left
  Delete "${SHORTCUT}"
  DeleteRegKey HKCU "${ENTRY}"

  Call un.removeItself
  ${If} ${FileExists} "$INSTDIR\uninstall.exe"
    Exec '"$INSTDIR\uninstall.exe" /S /itself'
  ${EndIf}
SectionEnd
