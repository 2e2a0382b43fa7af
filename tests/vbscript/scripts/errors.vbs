' On Error Resume Next, the Err object, and the numbers of run-time errors.
Dim x, arr(2), o
On Error Resume Next
x = 1 / 0 : MsgBox Err.Number & " " & Err.Description : Err.Clear
x = 0 / 0 : MsgBox Err.Number & " " & Err.Description : Err.Clear
x = CInt(40000) : MsgBox Err.Number & " " & Err.Description : Err.Clear
x = arr(5) : MsgBox Err.Number & " " & Err.Description : Err.Clear
x = CLng("abc") : MsgBox Err.Number & " " & Err.Description : Err.Clear
x = o.Foo : MsgBox Err.Number & " " & Err.Description : Err.Clear
Set o = Nothing
x = o.Foo : MsgBox Err.Number & " " & Err.Description : Err.Clear
Set o = CreateObject("Scripting.Dictionary")
o.NoSuchThing : MsgBox Err.Number : Err.Clear
Set o = CreateObject("No.Such.Thing") : MsgBox Err.Number & " " & Err.Description : Err.Clear
x = Sqr(-1) : MsgBox Err.Number & " " & Err.Description : Err.Clear
x = Len(1, 2) : MsgBox Err.Number : Err.Clear
x = Mid("abc", 0) : MsgBox Err.Number : Err.Clear
Err.Raise 1234, "MySource", "My text"
MsgBox Err.Number & " " & Err.Source & " " & Err.Description
Err.Clear
MsgBox Err.Number & "[" & Err.Description & "]"
Err.Raise 9
MsgBox Err.Number & " " & Err.Description
On Error GoTo 0
MsgBox Err.Number

Sub Fails
    Dim y
    y = 1 / 0
    MsgBox "not reached"
End Sub
On Error Resume Next
Fails
MsgBox "after " & Err.Number
On Error GoTo 0

Sub Inner
    On Error Resume Next
    Err.Raise 5
    MsgBox "inner continues " & Err.Number
End Sub
Inner
MsgBox "outer"
x = Null
On Error Resume Next
x = CStr(Null) : MsgBox Err.Number : Err.Clear
ReDim arr(3) : MsgBox Err.Number : Err.Clear
' A negated text is a run-time type mismatch, not a compile error.
x = -"abc" : MsgBox Err.Number : Err.Clear
MsgBox -"12"
