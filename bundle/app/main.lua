-- Sample script: the runner starts it with "启动脚本" and stops it with "停止脚本".
local count = 0
while true do
  count = count + 1
  print(string.format("sample script tick %d", count))
  sleep(1000)
end
