local total, n = 0, 0
for i = 1, 1000000 do
    total = total + (i * 3) % 7
    local s = "item" .. i
    n = n + #s
end
result = total + n
