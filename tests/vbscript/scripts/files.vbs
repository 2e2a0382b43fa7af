' Scripting.FileSystemObject: text files written, appended, read back, copied, moved, removed.
Const ForReading = 1, ForWriting = 2, ForAppending = 8
Dim fso, ts, folder, path, f, line, count
Set fso = CreateObject("Scripting.FileSystemObject")
folder = "fso_test_folder"
If fso.FolderExists(folder) Then
    For Each line In Array("a.txt", "b.txt", "c.txt")
        If fso.FileExists(fso.BuildPath(folder, line)) Then fso.DeleteFile fso.BuildPath(folder, line)
    Next
Else
    fso.CreateFolder folder
End If
path = fso.BuildPath(folder, "a.txt")
MsgBox path & " " & fso.GetFileName(path) & " " & fso.GetBaseName(path) & " " & fso.GetExtensionName(path)
Set ts = fso.CreateTextFile(path, True)
ts.WriteLine "first"
ts.Write "second"
ts.Close
Set ts = fso.OpenTextFile(path, ForAppending)
ts.WriteLine ""
ts.WriteLine "third"
ts.Close
Set ts = fso.OpenTextFile(path, ForReading)
count = 0
Do Until ts.AtEndOfStream
    line = ts.ReadLine
    count = count + 1
    MsgBox count & ":" & line
Loop
ts.Close
Set f = fso.GetFile(path)
MsgBox f.Size & " " & (Abs(DateDiff("s", f.DateLastModified, Now)) < 120)
fso.CopyFile path, fso.BuildPath(folder, "b.txt")
fso.MoveFile fso.BuildPath(folder, "b.txt"), fso.BuildPath(folder, "c.txt")
MsgBox fso.FileExists(fso.BuildPath(folder, "b.txt")) & " " & fso.FileExists(fso.BuildPath(folder, "c.txt"))
Set ts = fso.OpenTextFile(fso.BuildPath(folder, "c.txt"))
MsgBox Len(ts.ReadAll)
ts.Close
On Error Resume Next
Set ts = fso.OpenTextFile("no_such_file.txt")
MsgBox Err.Number & " " & Err.Description : Err.Clear
fso.CreateFolder folder
MsgBox Err.Number : Err.Clear
fso.CopyFile path, fso.BuildPath(folder, "c.txt"), False
MsgBox Err.Number : Err.Clear
Set ts = fso.OpenTextFile(path)
ts.Write "x"
MsgBox Err.Number : Err.Clear
ts.ReadLine : ts.ReadLine : ts.ReadLine : ts.ReadLine
MsgBox Err.Number : Err.Clear
On Error GoTo 0
fso.DeleteFile path
fso.DeleteFile fso.BuildPath(folder, "c.txt")
MsgBox fso.FileExists(path)
