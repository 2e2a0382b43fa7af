' Blocks chosen by If run inside the loop of the block around them, and procedure calls
' bind their arguments straight into the callee's slots: exits, resumed errors, ByRef
' arguments and results must behave as they do through the general paths.

' Exit Function, Exit For and Exit Do from Ifs nested deeper than the evaluator keeps in
' one loop.
Function Deep(k)
    Deep = "none"
    If k > 0 Then
        If k > 1 Then
            If k > 2 Then
                If k > 3 Then
                    If k > 4 Then
                        If k > 5 Then
                            Deep = "six"
                            Exit Function
                        End If
                        Deep = "five"
                    End If
                End If
            ElseIf k = 2 Then
                Deep = "two"
                Exit Function
            End If
        End If
        Deep = Deep & "+"
    End If
End Function
MsgBox Deep(0) & " " & Deep(1) & " " & Deep(2) & " " & Deep(3) & " " & Deep(5) & " " & Deep(6)

Dim i, j, found
found = ""
For i = 1 To 5
    For j = 1 To 5
        If i = 3 Then
            If j = 2 Then
                If True Then
                    If True Then
                        If True Then
                            found = found & i & j
                            Exit For
                        End If
                    End If
                End If
            End If
        End If
    Next
Next
MsgBox found & " " & i & " " & j
i = 0
Do
    i = i + 1
    If i > 2 Then If i Mod 2 = 0 Then Exit Do
Loop
MsgBox i

' On Error Resume Next carries on with the statement after the failing one inside the
' inner block, at every depth.
Function Probe(k)
    On Error Resume Next
    Dim trace
    trace = "a"
    If k > 0 Then
        trace = trace & "b"
        x = 1 / 0
        trace = trace & "c" & Err.Number
        If k > 1 Then
            If k > 2 Then
                If k > 3 Then
                    If k > 4 Then
                        y = CInt("zz")
                        trace = trace & "z" & Err.Number
                    End If
                End If
            End If
            y = CInt("zz")
            trace = trace & "d" & Err.Number
        End If
        trace = trace & "e"
    End If
    Probe = trace & "f"
End Function
MsgBox Probe(0) & " " & Probe(1) & " " & Probe(2) & " " & Probe(5)

' Calls among the arguments of a call stack above its slots.
Function Add(a, b)
    Add = a + b
End Function
MsgBox Add(Add(1, 2), Add(Add(3, 4), 5)) & " " & TypeName(Add(32767, 1))

' Results promote from Integer to Long to Double through the recursion.
Function Fact(n)
    If n <= 1 Then Fact = 1 Else Fact = n * Fact(n - 1)
End Function
MsgBox TypeName(Fact(7)) & " " & TypeName(Fact(8)) & " " & Fact(8) & " " & TypeName(Fact(13)) & " " & Fact(13)

' ByRef arguments are written through; a parenthesised one and a ByVal one are copies,
' also when the call stands alone with a space before "(".
Sub Bump(v)
    v = v + 1
End Sub
Sub BumpCopy(ByVal v)
    v = v + 1
End Sub
Sub Rename(s)
    If Len(s) > 0 Then s = s & "!"
End Sub
Dim c, t
c = 5
Bump c
Bump (c)
BumpCopy c
t = "hi"
Rename t
MsgBox c & " " & t

' Negative and Boolean values keep their sign through copies (32768 is a Long literal).
Dim m, n2
m = -32768
n2 = m
MsgBox TypeName(n2) & " " & n2 & " " & (n2 < 0) & " " & CLng(True) & " " & (-m)
