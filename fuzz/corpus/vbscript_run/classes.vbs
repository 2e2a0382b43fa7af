' Classes: fields, properties, methods, Me, default members, Initialize and Terminate; With;
' Scripting.Dictionary.
Class Counter
    Private m_count
    Public Name
    Private Sub Class_Initialize
        m_count = 0
        MsgBox "init"
    End Sub
    Private Sub Class_Terminate
        MsgBox "terminate " & Name
    End Sub
    Public Property Get Count
        Count = m_count
    End Property
    Public Property Let Count(value)
        If value < 0 Then Err.Raise 5
        m_count = value
    End Property
    Public Function Bump(by)
        m_count = m_count + by
        Set Bump = Me
    End Function
    Public Default Function Describe
        Describe = Name & ":" & m_count
    End Function
End Class

Dim c, d, other
Set c = New Counter
c.Name = "first"
c.Count = 3
c.Bump(2).Bump 1
MsgBox c.Count & " " & c & " " & TypeName(c)
Set other = c
MsgBox (other Is c) & " " & (c Is Nothing)
On Error Resume Next
c.Count = -1
MsgBox Err.Number & " " & c.Count
c.Missing = 1
MsgBox Err.Number
On Error GoTo 0
With c
    .Name = "with"
    MsgBox .Describe
End With
Set other = Nothing
Set c = Nothing
MsgBox "after"

Set d = CreateObject("Scripting.Dictionary")
d.Add "b", 2
d.Add "a", 1
d("c") = 3
d.Item("a") = 10
MsgBox d.Count & " " & d("a") & " " & d.Exists("b") & " " & d.Exists("z")
MsgBox Join(d.Keys, ",") & " " & Join(d.Items, ",")
d.Remove "b"
Dim k, s
For Each k In d : s = s & k & "=" & d(k) & ";" : Next
MsgBox s
On Error Resume Next
d.Add "a", 5
MsgBox Err.Number & " " & Err.Description
Err.Clear
d.Remove "zz"
MsgBox Err.Number
On Error GoTo 0
d.RemoveAll
d.CompareMode = 1
d.Add "Key", 1
MsgBox d.Exists("KEY") & " " & TypeName(d)
