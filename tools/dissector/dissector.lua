-- What follows interprets the tables above.

local vesk = Proto("vesk", "Video interface")
local HEAD_SIZE = 24 -- of a message

local kinds = {[0] = "note", "request", "answer", "notification", "done"}
local head = {
  kind = ProtoField.uint8("vesk.head.kind", "Kind", base.DEC, kinds),
  sent = ProtoField.bool("vesk.head.sent", "Sent by the process", 8, nil, 1),
  process = ProtoField.uint32("vesk.head.process", "Process"),
  thread = ProtoField.uint32("vesk.head.thread", "Thread"),
  exchange = ProtoField.uint64("vesk.head.exchange", "Exchange"),
  duration = ProtoField.uint64("vesk.head.duration", "Duration in ns"),
  platform = ProtoField.uint32("vesk.head.platform", "Platform's result", base.HEX, results),
  number = ProtoField.uint32("vesk.head.number", "Number"),
  program = ProtoField.string("vesk.head.program", "Program"),
  from = ProtoField.string("vesk.head.from", "From"),
  to = ProtoField.string("vesk.head.to", "To"),
}
local name_field = ProtoField.string("vesk.name", "Name")
local result_field = ProtoField.uint16("vesk.result", "Result", base.HEX, results)

-- One field of Wireshark for all fields of a name and kind: vesk.outEngNo. Other kinds have a suffix.
local constructors = {
  u = function(abbreviation, name) return ProtoField.uint64(abbreviation, name, base.DEC) end,
  h = function(abbreviation, name) return ProtoField.uint64(abbreviation, name, base.HEX) end,
  i = function(abbreviation, name) return ProtoField.int64(abbreviation, name, base.DEC) end,
  f4 = function(abbreviation, name) return ProtoField.float(abbreviation, name) end,
  f8 = function(abbreviation, name) return ProtoField.double(abbreviation, name) end,
  s = function(abbreviation, name) return ProtoField.string(abbreviation, name) end,
  b = function(abbreviation, name) return ProtoField.bytes(abbreviation, name) end,
}
local fields, registered, taken = {}, {}, {name = true, result = true}

local function declare(name, kind)
  local key = name .. "/" .. kind
  if fields[key] then return end
  local abbreviation = taken[name] and name .. "_" .. kind or name
  taken[name] = true
  fields[key] = constructors[kind]("vesk." .. abbreviation, name)
  registered[#registered + 1] = fields[key]
end

local function sized(kind, size) return kind == "f" and kind .. size or kind end

for _, field in pairs(head) do registered[#registered + 1] = field end
registered[#registered + 1] = name_field
registered[#registered + 1] = result_field
local function declare_all()
  local names = {}
  for name in pairs(records) do names[#names + 1] = name end
  table.sort(names) -- the same suffixes each time
  for _, name in ipairs(names) do
    for _, field in ipairs(records[name]) do
      if field[5] ~= "r" then
        declare(field[1], sized(field[5], field[3]))
        if field[5] ~= "b" then declare(field[1], "b") end -- what there is of a value that is cut off
      end
    end
  end
  for _, messages in ipairs({requests, answers, notifications}) do
    local numbers = {}
    for number in pairs(messages) do numbers[#numbers + 1] = number end
    table.sort(numbers)
    for _, number in ipairs(numbers) do
      local message = messages[number]
      for _, argument in ipairs(message.arguments) do declare(argument[1], argument[4]) end
      if message.number then declare(message.number[1], message.number[2]) end
    end
  end
  declare("text", "s")
  declare("data", "b")
  declare("rest", "b")
  for _, field in ipairs({"uwSubMsgID", "ulParam1", "ulParam2"}) do declare(field, "u") end
end
declare_all()
vesk.fields = registered

local function add(tree, path, name, kind, range)
  local item
  local field = fields[name .. "/" .. sized(kind, range:len())]
  if kind == "s" then
    local text = range:raw():match("^[^%z]*")
    item = tree:add(field, range, text)
  elseif kind == "b" then
    item = tree:add(field, range)
  else
    item = tree:add_le(field, range)
  end
  local text = item.text -- none while nobody looks at the tree
  if text and path ~= name then item:set_text(path .. text:sub(#name + 1)) end
end

local function add_bytes(tree, path, name, tvb, first, last)
  last = math.min(last or tvb:len(), tvb:len())
  if first < last then add(tree, path, name, "b", tvb(first, last - first)) end
end

local function add_record(tree, record, prefix, tvb, offset)
  for _, field in ipairs(record) do
    local name, size, elements, kind = field[1], field[3], field[4], field[5]
    for i = 0, math.max(elements, 1) - 1 do
      local at = offset + field[2] + i * size
      if at >= tvb:len() then break end
      local path = prefix .. name .. (elements > 0 and "[" .. i .. "]" or "")
      local present = math.min(size, tvb:len() - at)
      if kind == "r" then
        add_record(tree, records[field[6]], path .. ".", tvb, at)
      else
        add(tree, path, name, present == size and kind or "b", tvb(at, present))
      end
    end
  end
end

local function add_payload(tree, message, tvb)
  local size = tvb:len() - HEAD_SIZE
  if size == 0 then return end
  local record = records[message.record]
  if message.number and size == message.size then
    add(tree, message.number[1], message.number[1], message.number[2], tvb(HEAD_SIZE, size))
  elseif message.isText then
    add(tree, "text", "text", "s", tvb(HEAD_SIZE, size))
  elseif record and message.isArray then
    for i = 0, math.ceil(size / message.size) - 1 do
      local offset, prefix = HEAD_SIZE + i * message.size, "[" .. i .. "]."
      add_record(tree, record, prefix, tvb, offset)
      add_bytes(tree, prefix .. "rest", "rest", tvb, offset + record.size, offset + message.size)
    end
  elseif record then
    add_record(tree, record, "", tvb, HEAD_SIZE)
    add_bytes(tree, "rest", "rest", tvb, HEAD_SIZE + record.size)
  else
    add_bytes(tree, "data", "data", tvb, HEAD_SIZE)
  end
end

local no_message = {arguments = {
  {"uwSubMsgID", 6, 2, "u", false}, {"ulParam1", 8, 8, "u", false}, {"ulParam2", 16, 4, "u", false}}}

-- Adds the fields of a message and returns its summary.
local function add_message(tree, kind, number, tvb)
  local listed = ({requests, answers, notifications})[kind]
  local message = listed[number] or no_message
  local name = message.name or tostring(number)
  tree:add(name_field, tvb(0, 0), name)
  if tvb:len() < HEAD_SIZE then
    add_bytes(tree, "data", "data", tvb, 0)
    return name
  end
  local summary = name
  if kind == 2 then
    local result = tvb(6, 2):le_uint()
    tree:add_le(result_field, tvb(6, 2))
    summary = string.format("%s -> %s", name, results[result] or string.format("0x%x", result))
  end
  for _, argument in ipairs(message.arguments) do
    local range = tvb(argument[2], argument[3])
    local value = range:le_uint64()
    if argument[5] or (value ~= UInt64(0) and not (kind == 2 and argument[1] == "uwSubMsgID")) then
      add(tree, argument[1], argument[1], argument[4], range)
      local shown = argument[4] == "i" and range:le_int() or value
      summary = summary .. " " .. argument[1] .. "=" .. tostring(shown)
    end
  end
  add_payload(tree, message, tvb)
  return summary
end

function vesk.dissector(tvb, pinfo, root)
  if tvb:len() < 152 or tvb(0, 2):le_uint() ~= 1 then return 0 end
  pinfo.cols.protocol = "VESK"
  local kind, size = tvb(4, 1):uint(), tvb(2, 2):le_uint()
  local tree = root:add(vesk, tvb())
  local recorded = tree:add(vesk, tvb(0, size), "Recorded")
  recorded:add(head.kind, tvb(4, 1))
  recorded:add(head.sent, tvb(5, 1))
  recorded:add_le(head.process, tvb(8, 4))
  recorded:add_le(head.thread, tvb(12, 4))
  recorded:add_le(head.exchange, tvb(16, 8))
  recorded:add_le(head.duration, tvb(32, 8))
  recorded:add_le(head.platform, tvb(40, 4))
  recorded:add_le(head.number, tvb(44, 4))
  recorded:add(head.program, tvb(56, 32))
  local from = tvb(88, 16):stringz() .. "/" .. tvb(104, 16):stringz()
  local to = tvb(120, 16):stringz() .. "/" .. tvb(136, 16):stringz()
  recorded:add(head.from, tvb(88, 32), from)
  recorded:add(head.to, tvb(120, 32), to)
  local number = tvb(44, 4):le_uint()
  local listed = ({requests, answers, notifications})[kind]
  if not listed then
    pinfo.cols.info = kind == 4 and string.format("%u done in %s ns", number, tostring(tvb(32, 8):le_uint64())) or "note"
    return tvb:len()
  end
  pinfo.cols.src = from
  pinfo.cols.dst = to
  local prefix = kind == 3 and number .. " " or ""
  if size < tvb:len() then
    pinfo.cols.info = prefix .. add_message(tree, kind, number, tvb(size):tvb())
  else
    local message = listed[number]
    pinfo.cols.info = string.format("%s%s: no data, platform's result 0x%x", prefix,
      message and message.name or number, tvb(40, 4):le_uint())
  end
  return tvb:len()
end
