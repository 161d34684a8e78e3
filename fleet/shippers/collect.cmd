@echo off
rem Collects this machine's inventory into a file of a share, one for each machine, written beside and renamed.
rem   collect.cmd SHARE [KEY FILE]     with a key what identifies is replaced before it leaves the machine, alike on all days
setlocal
set program="%ProgramFiles%\hw-inventory\bin\hw-inventory.exe"
set machine=
for /f "tokens=3" %%v in ('reg query HKLM\SOFTWARE\Microsoft\Cryptography /v MachineGuid /reg:64') do set machine=%%v
if "%machine%"=="" exit /b 1
set file="%SystemRoot%\Temp\hw-inventory-%machine%.ndjson"
%program% --format ndjson --machine %machine% -o %file%
rem 1: some kinds failed, which the file says. 2: all of them, which it says as well.
if errorlevel 3 exit /b %errorlevel%
if "%~2"=="" (copy /y %file% "%~1\%machine%.part" > nul) else (%program% redact --key "%~2" -o "%~1\%machine%.part" %file%)
if errorlevel 1 exit /b 74
move /y "%~1\%machine%.part" "%~1\%machine%.ndjson" > nul
del %file%
