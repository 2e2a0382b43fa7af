' Control flow, procedures with ByRef and ByVal, Exit, Select Case, loops.
Option Explicit
Dim i, total, s, a, b

total = 0
For i = 1 To 10 Step 3 : total = total + i : Next
MsgBox total & " " & i
For i = 5 To 1 Step -2 : s = s & i : Next
MsgBox s
For i = 1 To 0 : MsgBox "never" : Next
MsgBox i
s = ""
For i = 1 To 3
    If i = 2 Then Exit For
    s = s & i
Next
MsgBox s & " " & i

i = 0
Do
    i = i + 1
    If i >= 4 Then Exit Do
Loop
MsgBox i
i = 0
Do Until i = 3 : i = i + 1 : Loop
MsgBox i
i = 10
Do : i = i + 1 : Loop While i < 5
MsgBox i
i = 0
While i < 7 : i = i + 2 : Wend
MsgBox i

Function Grade(n)
    Select Case n
        Case 1, 2, 3 : Grade = "low"
        Case 4 To 6 : Grade = "mid"
        Case Is >= 100 : Grade = "huge"
        Case Else : Grade = "other"
    End Select
End Function
MsgBox Grade(2) & " " & Grade(5) & " " & Grade(150) & " " & Grade(-5)

If 1 > 2 Then
    MsgBox "no"
ElseIf 2 > 1 Then
    MsgBox "elseif"
Else
    MsgBox "no"
End If
If False Then MsgBox "no" Else MsgBox "one-line else"
If Null Then MsgBox "no" Else MsgBox "null is false"

Sub Swap(x, y)
    Dim t : t = x : x = y : y = t
End Sub
a = 1 : b = 2
Swap a, b
MsgBox a & " " & b
Sub Twice(ByVal v, ByRef w)
    v = v * 2 : w = w * 2
End Sub
a = 5 : b = 5
Twice a, b
MsgBox a & " " & b
Call Twice(a, b)
MsgBox a & " " & b
Twice (a), (b)
MsgBox a & " " & b

Function Early(n)
    Early = "start"
    If n > 0 Then Exit Function
    Early = "end"
End Function
MsgBox Early(1) & " " & Early(0)

Function Fact(n)
    If n <= 1 Then Fact = 1 Else Fact = n * Fact(n - 1)
End Function
MsgBox Fact(10)

Const Limit = 3, Greeting = "hi"
MsgBox Limit * 2 & Greeting

Dim arr(2), c2(1, 2)
arr(0) = "x" : arr(2) = "z"
MsgBox UBound(arr) & " " & arr(0) & arr(1) & arr(2)
c2(1, 2) = 7
MsgBox UBound(c2, 1) & " " & UBound(c2, 2) & " " & c2(1, 2)
Dim dyn()
ReDim dyn(1)
dyn(0) = "keep"
ReDim Preserve dyn(3)
MsgBox UBound(dyn) & " " & dyn(0)
Dim copy1, copy2
copy1 = Array(1, 2, 3)
copy2 = copy1
copy2(0) = 99
MsgBox copy1(0) & " " & copy2(0)
s = ""
For Each i In Array("p", "q", "r") : s = s & i : Next
MsgBox s
Erase arr
MsgBox IsEmpty(arr(0)) & " " & UBound(arr)
MsgBox _
    "continued " & _
    "line"
Rem a comment
MsgBox "done" ' trailing comment
