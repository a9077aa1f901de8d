-- Sample script. "启动脚本" (or curl 'http://127.0.0.1:8989/task?cmd=start') runs it; every line it
-- prints lands in script.log with a timestamp. cmd=pause holds it, cmd=resume lets it go on,
-- "停止脚本" (cmd=stop) ends it.
--
-- It also shows the script API: the daemon gives each run a socket named by BRISKO_API, and
-- `brisko-cli api …` speaks to it (tap, swipe, key, color_at, screenshot, webview, log). Without
-- the tool or a display the sample just logs.
io.stdout:setvbuf("line") -- one line at a time, so the log follows as it happens

local documents = os.getenv("BRISKO_DOCUMENTS") or "."
print("示例脚本开始，文档目录 " .. documents)

local function haveApi()
  return os.getenv("BRISKO_API") ~= nil and os.execute("command -v brisko-cli >/dev/null 2>&1")
end

-- One API call; its output (color_at prints "#RRGGBB"), or nil when it failed.
local function api(arguments)
  local pipe = io.popen("brisko-cli api " .. arguments .. " 2>/dev/null")
  local output = pipe:read("a")
  local ok = pipe:close()
  return ok and output:gsub("%s+$", "") or nil
end

local useApi = haveApi()
if useApi then
  api("log '示例脚本通过脚本接口写入的一行'")
  -- api("webview show") would cover the application with app/web/index.html.
else
  print("没有脚本接口（brisko-cli 不在 PATH 上），只写日志")
end

local step = 0
while true do
  step = step + 1
  print(string.format("第 %d 次循环 %s", step, os.date("%H:%M:%S")))
  if useApi and step % 5 == 1 then
    local color = api("color_at 10 10")
    print("屏幕 (10, 10) 的颜色: " .. (color or "无法读取（没有显示器？）"))
  end
  os.execute("sleep 1")
end
