@echo off
rem Runs the tests of Quillgate and leaves what came out in the folder report beside this file.
rem
rem   run-tests.cmd       waits for a key before the first test and at the end, for somebody at the screen
rem   run-tests.cmd /q    does not wait
rem
rem Ends with 0 if each test program has passed tests and failed in none, else with 1.
rem GTEST_FILTER in the environment chooses tests, as GoogleTest describes.
setlocal
pushd "%~dp0"
set summary=report\summary.txt
set failed=0

if not exist tests\quillgate_tests.exe (
  echo Unpack the whole archive first, and start the run-tests.cmd that is unpacked.
  set failed=1
  goto end
)
if exist report rmdir /s /q report
mkdir report
if not exist report (
  echo No folder can be made here for the report: unpack the archive where you may write.
  set failed=1
  goto end
)

rem The firewall asks about a program that listens for the first time, and what it shows would be in the
rem way of the windows that are tested.
echo If the firewall asks about a program, answer as you like: what tests send stays on this computer.
tests\quillgate_tests.exe --gtest_filter=ForwardingServerTest.GivesEvery* <nul >nul 2>&1
tests\quillgate_ui_tests.exe --gtest_filter=ProgramWithTraffic.RelaysBothWays <nul >nul 2>&1
if /i not "%~1"=="/q" (
  echo After that, leave mouse, keyboard and screen alone until a summary is shown.
  pause
)

>%summary% echo Tests of Quillgate PRO @VERSION@ for Windows
>>%summary% echo Begun: %date% %time%
>>%summary% echo Processor: %PROCESSOR_IDENTIFIER%
>>%summary% ver

rem The last one uses up the ports of the system for a while.
call :run quillgate_tests
call :run quillgate_ui_tests
call :run quillgate_soak_tests

>>%summary% echo.
if %failed%==0 echo All test programs passed.>>%summary%
if %failed%==1 echo Not all test programs passed.>>%summary%
>>%summary% echo Ended: %date% %time%
echo.
type %summary%
echo.
echo The report is in the folder report.

:end
popd
if /i not "%~1"=="/q" pause
exit /b %failed%

rem Runs a test program and adds what came out to the summary: its counts, the tests that failed, and
rem why others were skipped.
:run
echo Running %1; what it prints goes to report\%1.txt ...
tests\%1.exe --gtest_output=xml:report\%1.xml <nul >report\%1.txt 2>&1
set code=%errorlevel%
set passed=0
for /f "tokens=4" %%n in ('find "[  PASSED  ]" ^<report\%1.txt') do set passed=%%n
set verdict=passed
if %passed%==0 set verdict=FAILED, no test passed
if not %code%==0 set verdict=FAILED, it ended with %code%
if not "%verdict%"=="passed" set failed=1

>>%summary% echo.
>>%summary% echo %1: %verdict%
>>%summary% find " ran. (" <report\%1.txt
if errorlevel 1 call :unfinished %1
>>%summary% find "[  PASSED  ]" <report\%1.txt
>>%summary% find "tests, listed below:" <report\%1.txt
>>%summary% find "test, listed below:" <report\%1.txt
find "[  FAILED  ]" <report\%1.txt | find " ms)" >>%summary%
>>%summary% find "[  REASON  ]" <report\%1.txt
goto :eof

rem Says in which test a program ended before its end.
:unfinished
set last=none
for /f "tokens=4" %%n in ('find "[ RUN      ]" ^<report\%1.txt') do set last=%%n
>>%summary% echo It ended before its end; the last test that began: %last%
goto :eof
