' On Error Resume Next and errors in the tests of compound statements: the statement that
' follows the failed test runs next. For an If or ElseIf that is the first statement of its
' block; for a loop tested at the top, its body; for a loop tested at the end, the statement
' after the loop; for a Case, its block. A failed Select Case subject skips the whole Select;
' a failed For or For Each header runs the body once, counter untouched, and the Next then
' fails with error 92 or 451. Each line shows the value got; "FAIL" names the value expected.
Sub Check(label, got, want)
    If got = want Then
        MsgBox label & ": " & got
    Else
        MsgBox "FAIL " & label & ": got " & got & ", want " & want
    End If
End Sub

Function Boom()
    Boom = 1 / 0
End Function

Class Holder
    Public Prop
End Class

Dim x, y, trace, n

Sub Conditions()
    On Error Resume Next

    x = False : trace = ""
    If Boom() Then
        x = True
    Else
        trace = "else"
    End If
    Check "block If", x & " " & trace & " " & Err.Number, "True  11"

    Err.Clear : x = False
    If False And Boom() Then
        x = True
    Else
        trace = "else"
    End If
    Check "And is not short-circuit", x & " " & Err.Number, "True 11"

    Err.Clear : x = False
    If Boom() Then x = True Else trace = "one-line else"
    Check "one-line If", x & " " & Err.Number, "True 11"

    Err.Clear : x = "" : trace = ""
    If False Then
        x = "then"
    ElseIf Boom() Then
        x = "elseif"
    Else
        x = "else"
    End If
    Check "ElseIf", x & " " & Err.Number, "elseif 11"

    Err.Clear : x = ""
    If True Then
        x = Boom()
        x = "went on"
    End If
    Check "error inside the block", x & " " & Err.Number, "went on 11"

    Err.Clear : x = 0
    Do While Boom()
        x = x + 1
        trace = Err.Number
        Exit Do
    Loop
    Check "Do While", x & " " & trace & " " & Err.Number, "1 11 11"

    Err.Clear : x = 0
    Do Until Boom()
        x = x + 1
        Exit Do
    Loop
    Check "Do Until", x & " " & Err.Number, "1 11"

    Err.Clear : x = 0
    Do
        x = x + 1
    Loop While Boom()
    Check "Loop While", x & " " & Err.Number, "1 11"

    Err.Clear : x = 0
    Do
        x = x + 1
    Loop Until Boom()
    Check "Loop Until", x & " " & Err.Number, "1 11"

    Err.Clear : x = 0 : n = 0
    While FailsFirst()
        x = x + 1
    Wend
    Check "While", x & " " & n & " " & Err.Number, "1 2 11"
End Sub

' Fails the first time it is asked, then answers False.
Function FailsFirst()
    n = n + 1
    If n = 1 Then FailsFirst = Boom()
    FailsFirst = False
End Function

Sub Loops()
    On Error Resume Next

    Err.Clear : x = 6 : y = 0 : trace = ""
    For x = Boom() To 10
        y = y + 1
        trace = Err.Number
    Next
    Check "For start", x & " " & y & " " & trace & " " & Err.Number, "6 1 11 92"

    Err.Clear : x = 6 : y = 0
    For x = 1 To Boom()
        y = y + 1
    Next
    Check "For end", x & " " & y & " " & Err.Number, "6 1 92"

    Err.Clear : x = 6 : y = 0
    For x = 1 To 5 Step Boom()
        y = y + 1
    Next
    Check "For step", x & " " & y & " " & Err.Number, "6 1 92"

    Err.Clear : x = 6 : y = 0
    For x = 1 To 5 Step Boom()
        y = y + 1
        Exit For
    Next
    Check "For left by Exit For", x & " " & y & " " & Err.Number, "6 1 11"

    Err.Clear : x = 6 : y = 0 : trace = ""
    For Each x In Boom()
        y = y + 1
        trace = Err.Number
    Next
    Check "For Each", x & " " & y & " " & trace & " " & Err.Number, "6 1 11 451"

    Err.Clear : x = 6 : y = 0 : trace = ""
    For Each x In Empty
        y = y + 1
        trace = Err.Number
    Next
    Check "For Each over Empty", x & " " & y & " " & trace & " " & Err.Number, "6 1 451 451"
End Sub

Sub Selects()
    On Error Resume Next

    Err.Clear : x = "none"
    Select Case Boom()
    Case True
        x = "true"
    Case Else
        x = "else"
    End Select
    Check "Select subject", x & " " & Err.Number, "none 11"

    Err.Clear : x = "none"
    Select Case 3
    Case 1
        x = "one"
    Case Boom()
        x = "failed case"
    Case 3
        x = "three"
    End Select
    Check "Case expression", x & " " & Err.Number, "failed case 11"

    Err.Clear : x = False
    With Boom()
        trace = Err.Number
        .Prop = 1
        x = True
    End With
    Check "With", x & " " & trace & " " & Err.Number, "True 11 424"

    Err.Clear : x = False
    With New Holder
        .Prop = 5
        x = .Prop
    End With
    Check "With an object", x & " " & Err.Number, "5 0"
End Sub

' A procedure without Resume Next stops at the failed test; its caller resumes.
Sub Strict()
    trace = "started"
    If Boom() Then trace = "then ran"
    trace = "went on"
End Sub

Conditions
Loops
Selects
On Error Resume Next
Strict
Check "no Resume Next in the callee", trace & " " & Err.Number, "started 11"
