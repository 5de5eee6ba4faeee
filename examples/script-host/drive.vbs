' Ostrel from a script host: every component created by its ProgID and
' driven late-bound, each call made by name through IDispatch.
'   cscript //nologo drive.vbs
' It needs the library registered (regsvr32 Ostrel.dll) and, for calls by
' name, the version 1.0 type library (ostrel-regsvr /t1 Ostrel.dll). Script
' engines pass every argument as a variant, so only methods whose outputs
' are variants or return values can be used from here.
Option Explicit

Dim calculator, formula, result
Set calculator = CreateObject("VoService.VoCalculator")

' Without the version 1.0 type library no call by name gets through.
On Error Resume Next
calculator.Evaluate "1", result
If Err.Number <> 0 Then
    WScript.Echo "late binding unavailable: 0x" & Hex(Err.Number)
    WScript.Quit 1
End If
On Error GoTo 0

For Each formula In Array("(2+3)*4", "10/4", "2^10", "-7+3*2")
    calculator.Evaluate formula, result
    WScript.Echo "calc " & formula & " = " & result
Next
' A formula the calculator refuses comes back as a script error.
On Error Resume Next
calculator.Evaluate "2*(3", result
WScript.Echo "calc 2*(3 fails: 0x" & Hex(Err.Number) & " from " & Err.Source
On Error GoTo 0

' A calendar: 08:00-12:00 and 13:00-17:00 on working days, weekends off.
Const crWorkingHour = 1, crRecurDayWeek = 32
Const anyDay = 732          ' 1902-01-01, the marker date of working hours
Dim rules
Set rules = CreateObject("VoAvl.VoRules")
rules.AddRule anyDay + 8 / 24, anyDay + 12 / 24, True, crWorkingHour
rules.AddRule anyDay + 13 / 24, anyDay + 17 / 24, True, crWorkingHour
rules.AddRule DateSerial(1903, 1, 1), DateSerial(1903, 1, 2), False, crRecurDayWeek  ' Sunday
rules.AddRule DateSerial(1903, 1, 7), DateSerial(1903, 1, 8), False, crRecurDayWeek  ' Saturday

' A profile on that calendar, prepared for two weeks of March 2026.
Dim profile, first, last
Set profile = CreateObject("VoAvl.VoAvailability")
profile.SetRules rules
first = DateSerial(2026, 3, 2)
last = DateSerial(2026, 3, 16)
profile.PrepareDateRange first, last
WScript.Echo "working hours 2026-03-02 .. 2026-03-16: " & Hours(profile.CalcWorkingHours(first, last))
WScript.Echo "working hours on Saturday 2026-03-07: " & Hours(profile.CalcWorkingHours(first + 5, first + 6))
WScript.Echo "profile points: " & profile.Count

' Work placed on the profile: Wednesday afternoon taken, Thursday morning
' given one and a half units.
profile.SetTimeSpan first + 2 + 13 / 24, first + 2 + 17 / 24, 0
profile.SetTimeSpan first + 3 + 8 / 24, first + 3 + 12 / 24, 1.5
WScript.Echo "working hours on Wednesday after placing: " & Hours(profile.CalcWorkingHours(first + 2, first + 3))
WScript.Echo "unit hours on Thursday after placing: " & Hours(profile.CalcWorkingHours(first + 3, first + 4))
WScript.Echo "working hours 2026-03-02 .. 2026-03-16: " & Hours(profile.CalcWorkingHours(first, last))
WScript.Echo "profile points: " & profile.Count

' Days as the library counts them, in hours with two decimals.
Function Hours(days)
    Hours = FormatNumber(days * 24, 2, True, False, False)
End Function
