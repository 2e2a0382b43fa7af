MsgBox "never"
If x Then
  y = (1 +
End If
