local lines = {}
for i = 0, 99999 do lines[#lines + 1] = "line " .. i .. ",alpha,beta,gamma" end
local text = table.concat(lines, "\n")
local parts = {}
for line in string.gmatch(text, "[^\n]+") do parts[#parts + 1] = line end
local count = 0
for _, line in ipairs(parts) do
    if string.find(line, "beta", 1, true) then count = count + 1 end
    local fields = {}
    for f in string.gmatch(line, "[^,]+") do fields[#fields + 1] = f end
end
local replaced = string.gsub(text, "alpha", "ALPHA")
local joined = table.concat(parts, ";")
result = count + #replaced + #joined
