' ByRef arguments beyond plain variables: an array element named as an argument is passed
' itself, its array locked against ReDim and Erase while the call runs; a value in
' parentheses, "Inc (a(1))" or "Inc(a(1))", is passed as a copy; an object's property is
' read into a copy; methods of script classes take ByRef arguments as procedures do. Each
' line shows the value got; a line starting "FAIL" names the value expected instead.
Sub Check(label, got, want)
    If got = want Then
        MsgBox label & ": " & got
    Else
        MsgBox "FAIL " & label & ": got " & got & ", want " & want
    End If
End Sub

Sub Inc(x)
    x = x + 1
End Sub
Sub IncByVal(ByVal x)
    x = x + 1
End Sub
Sub SetFirst(arr)
    arr(0) = 2
End Sub
Function AddOne(x)
    x = x + 1
    AddOne = x * 10
End Function

Dim a : a = Array(1, 2, 3)
Inc a(1)
Check "element", a(1), 3
Inc (a(1))
Check "element in parentheses", a(1), 3
Inc(a(1))
Check "element in parentheses, no space", a(1), 3
Call Inc(a(1))
Check "element with Call", a(1), 4
IncByVal a(1)
Check "element ByVal", a(1), 4
Check "Function result", AddOne(a(2)), 40
Check "element through Function", a(2), 4

Dim v : v = 5
Inc(v)
Check "variable in parentheses, no space", v, 5
Inc v
Check "variable", v, 6

Dim m(2, 3)
m(1, 2) = 7
Inc m(1, 2)
Check "two dimensions", m(1, 2), 8

' The subscripts run once, before the call.
Dim calls : calls = 0
Function Pick()
    calls = calls + 1
    Pick = 0
End Function
Inc a(Pick())
Check "subscript runs once", calls & " " & a(0), "1 2"

' An element holding an array passes that array.
Dim nested : nested = Array(Array(3))
SetFirst nested(0)
Check "nested element", nested(0)(0), 2
nested = Array(Array(3))
SetFirst (nested(0))
Check "nested element in parentheses", nested(0)(0), 3

' While its element is passed ByRef the array is locked: error 10.
Sub Regrow(x)
    ReDim a(10)
End Sub
Sub Wipe(x)
    Erase a
End Sub
On Error Resume Next
Regrow a(0)
Check "ReDim while locked", Err.Number & " " & UBound(a), "10 2"
Err.Clear
Wipe a(0)
Check "Erase while locked", Err.Number & " " & UBound(a), "10 2"
Err.Clear
On Error GoTo 0
ReDim Preserve a(3)
Check "ReDim after the call", UBound(a) & " " & a(1), "3 4"

' A copy made while the array is locked is a copy of its own.
Dim copy
Sub CopyThenSet(x)
    copy = a
    x = "changed"
End Sub
CopyThenSet a(1)
Check "copy during the call", copy(1) & " " & a(1), "4 changed"

' Properties are read into a copy: the object keeps its value and Property Let is not run.
Class Box
    Public Value
    Public Items
    Private mSize, mLets
    Private Sub Class_Initialize
        mSize = 1
        mLets = 0
        Items = Array(10, 20)
    End Sub
    Public Property Get Size
        Size = mSize
    End Property
    Public Property Let Size(n)
        mSize = n
        mLets = mLets + 1
    End Property
    Public Property Get Lets
        Lets = mLets
    End Property
    Public Sub Bump(n)
        n = n + 1
    End Sub
    Public Sub BumpByVal(ByVal n)
        n = n + 1
    End Sub
    Public Sub BumpOwn()
        Bump Items(0)
        Inc Items(1)
    End Sub
    Public Function Twice(n)
        Bump n
        Bump n
        Twice = n
    End Function
End Class

Dim b : Set b = New Box
b.Value = 1
Inc b.Value
Check "public variable of an object", b.Value, 1
Inc b.Size
Check "property", b.Size & " " & b.Lets, "1 0"
Inc b.Items(0)
Check "element of an object's array", b.Items(0), 10

' Methods of script classes.
v = 1
b.Bump v
Check "method", v, 2
b.Bump (v)
Check "method, parentheses", v, 2
b.BumpByVal v
Check "method ByVal", v, 2
Check "method calling a method", b.Twice(v) & " " & v, "4 4"
b.Bump a(0)
Check "method with an element", a(0), 3
b.BumpOwn
Check "elements of the object's own array", b.Items(0) & " " & b.Items(1), "11 21"

' A Function named alone as an argument is called and its result passed.
Function Five()
    Five = 5
End Function
Function Echo(x)
    Echo = x
End Function
Check "Function as an argument", Echo(Five), 5
Check "Function as a method argument", b.Twice(Five), 7
