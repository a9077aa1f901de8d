-- Sample script. "启动脚本" (or curl 'http://127.0.0.1:8989/task?cmd=start') runs it; every line it
-- prints lands in script.log with a timestamp. cmd=pause holds it, cmd=resume lets it go on,
-- "停止脚本" (cmd=stop) ends it.
io.stdout:setvbuf("line") -- one line at a time, so the log follows as it happens

local documents = os.getenv("BRISKO_DOCUMENTS") or "."
print("示例脚本开始，文档目录 " .. documents)

local step = 0
while true do
  step = step + 1
  print(string.format("第 %d 次循环 %s", step, os.date("%H:%M:%S")))
  os.execute("sleep 1")
end
