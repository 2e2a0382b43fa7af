' Arithmetic subtypes, overflow promotion, integer division, Mod, concatenation.
MsgBox TypeName(1 + 1)
MsgBox TypeName(32767 + 1) & " " & (32767 + 1)
MsgBox TypeName(2147483647 + 1) & " " & (2147483647 + 1)
MsgBox TypeName(CByte(200) + CByte(100)) & " " & (CByte(200) + CByte(100))
MsgBox TypeName(CByte(2) + CByte(3))
MsgBox TypeName(True + True) & " " & (True + True)
MsgBox TypeName(1.5 + 1) & " " & (1.5 + 1)
MsgBox TypeName("5" + 3) & " " & ("5" + 3)
MsgBox "5" + "3"
MsgBox TypeName(Empty + Empty) & " " & (Empty + 1)
MsgBox IsNull(Null + 1) & " " & IsNull(Null & Null) & " " & ("a" & Null)
MsgBox 7 \ 2 & " " & -7 \ 2 & " " & 7.5 \ 2 & " " & 6.5 \ 2
MsgBox 7 Mod 3 & " " & -7 Mod 3 & " " & 7 Mod -3 & " " & 5.5 Mod 3
MsgBox TypeName(10 / 2) & " " & 10 / 4
MsgBox 2 ^ 10 & " " & -2 ^ 2 & " " & 2 ^ -1
MsgBox 1 + 2 * 3 - 4 / 2 & " " & (1 + 2) * 3
MsgBox 1 & 2 + 3
MsgBox TypeName(-32767 - 1) & " " & TypeName(-(-32767 - 1))
MsgBox (True And False) & " " & (True Or False) & " " & (True Xor True) & " " & (Not True)
MsgBox (12 And 10) & " " & (12 Or 10) & " " & (12 Xor 10) & " " & (Not 0) & " " & TypeName(12 And 10)
MsgBox (True Eqv False) & " " & (False Imp True) & " " & (True Imp False)
MsgBox IsNull(Null And True) & " " & (Null And False) & " " & (Null Or True) & " " & IsNull(Not Null)
MsgBox &HFF & " " & &HFFFF & " " & &H10000 & " " & &O17 & " " & TypeName(&HFFFF)
MsgBox 1E3 & " " & 1.5E-7 & " " & 123456789012345 & " " & 0.1 + 0.2
MsgBox (3 = 3.0) & " " & ("abc" < "abd") & " " & ("B" < "a") & " " & (1 < 2)
Dim n, s
n = 10 : s = "9"
MsgBox (n > s) & " " & (n < s) & " " & (n = "10") & " " & (s = 9)
MsgBox (Empty = 0) & " " & (Empty = "") & " " & IsNull(Null = Null)
