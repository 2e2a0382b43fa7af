' Whole numbers, comparisons, "&" and the string built-ins through the shortcuts the
' evaluator takes for plain variables and constants: the results and their types must be
' those of the general rules.
Dim i, l, b, n, s, arr, count
i = 32767
MsgBox TypeName(i + 1) & " " & (i + 1)
MsgBox TypeName(i * 2) & " " & (i * 2)
MsgBox TypeName(i - 1) & " " & (i - 1)
l = 2147483647
MsgBox TypeName(l + 1) & " " & (l + 1)
l = 100000
MsgBox TypeName(l Mod 7) & " " & (l Mod 7)
MsgBox TypeName(l \ 3) & " " & (l \ 3)
i = -7
MsgBox (i Mod 3) & " " & (i \ 2) & " " & TypeName(i \ 2)
MsgBox (l Mod -1) & " " & TypeName(l Mod -1)
b = CByte(200)
MsgBox (b > 100) & " " & (b = 200) & " " & (b < i)
MsgBox (True = -1) & " " & (l >= 100000) & " " & (l <> 100000)

' Conditions: Null counts as False, whole numbers compare directly.
n = Null
If n < 2 Then MsgBox "null less" Else MsgBox "null not less"
n = 0
Do While n < 5
    n = n + 1
Loop
MsgBox n
Do
    n = n - 2
Loop Until n <= 0
MsgBox n

' "&" with numbers, Booleans, Null and fractions.
MsgBox "a" & 5 & CByte(7) & True & Null & 1.5 & -5 & 2147483647
s = ""
For i = 1 To 1000
    s = s & "x"
Next
MsgBox Len(s) & " " & Len(12345) & " " & Len(Null & "")

' Split, Replace, Join and InStr, binary and text comparison.
arr = Split("aXbxc", "x")
MsgBox UBound(arr) & " " & Join(arr, "|")
arr = Split("aXbxc", "x", -1, 1)
MsgBox UBound(arr) & " " & Join(arr, "|")
arr = Split("a,b,c,d", ",", 2)
MsgBox UBound(arr) & " " & arr(1)
MsgBox Replace("aXbxc", "x", "-", 1, -1, 1) & " " & Replace("aXbxc", "x", "-")
MsgBox Replace("abcabc", "b", "B", 3) & " " & Replace("aaaa", "a", "b", 1, 2)
MsgBox Join(Array(1, "two", 3.5, True), ",") & " " & Join(Array("p", "q"))
MsgBox InStr(12345, 34) & " " & InStr(1, "abcABC", "C", 1) & " " & InStr("abc", "z")
count = 0
For Each s In Split("one beta" & vbLf & "two" & vbLf & "three beta", vbLf)
    If InStr(s, "beta") > 0 Then count = count + 1
Next
MsgBox count
