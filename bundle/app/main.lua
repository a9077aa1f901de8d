-- Sample script: the runner starts it with "启动脚本" and stops it with "停止脚本".
local started = os.date("%Y-%m-%d %H:%M:%S")
print("sample script started at " .. started)
for step = 1, 3 do
  print(string.format("sample script step %d of 3", step))
end
print("sample script finished")
