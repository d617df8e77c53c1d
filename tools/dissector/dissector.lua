-- What follows interprets the tables above.

local vesk = Proto("vesk", "Video interface")
local HEAD_SIZE = 24 -- of a message
local RECORDED_SIZE = 152 -- of what a recording puts in front of it
local REQUEST, ANSWER, NOTIFICATION, DONE = 1, 2, 3, 4

local kinds = {[0] = "note", "request", "answer", "notification", "done"}
local head = {
  whole = ProtoField.none("vesk.head", "Recorded"),
  kind = ProtoField.uint8("vesk.head.kind", "Kind", base.DEC, kinds),
  sent = ProtoField.bool("vesk.head.sent", "Sent by the process", 8, nil, 1),
  synchronous = ProtoField.bool("vesk.head.synchronous", "Synchronous", 8, nil, 2),
  process = ProtoField.uint32("vesk.head.process", "Process"),
  thread = ProtoField.uint32("vesk.head.thread", "Thread"),
  exchange = ProtoField.uint64("vesk.head.exchange", "Exchange"),
  monotonic = ProtoField.uint64("vesk.head.monotonic", "Monotonic time in ns"),
  duration = ProtoField.uint64("vesk.head.duration", "Duration in ns"),
  platform = ProtoField.uint32("vesk.head.platform", "Platform's result", base.HEX, results),
  number = ProtoField.uint32("vesk.head.number", "Number"),
  length = ProtoField.uint32("vesk.head.length", "Length of the data"),
  timeout = ProtoField.uint32("vesk.head.timeout", "Time-out in ms"),
  program = ProtoField.string("vesk.head.program", "Program"),
  from = ProtoField.string("vesk.head.from", "From"),
  to = ProtoField.string("vesk.head.to", "To"),
}
local generated = {
  response_in = ProtoField.framenum("vesk.response_in", "Answer in frame", base.NONE, frametype.RESPONSE),
  response_to = ProtoField.framenum("vesk.response_to", "Answer to frame", base.NONE, frametype.REQUEST),
  done_in = ProtoField.framenum("vesk.done_in", "Done in frame", base.NONE, frametype.RESPONSE),
  done_of = ProtoField.framenum("vesk.done_of", "Message in frame", base.NONE, frametype.REQUEST),
  time = ProtoField.relative_time("vesk.time", "Time"),
}

local experts = {
  problem = ProtoExpert.new("vesk.problem", "Malformed", expert.group.MALFORMED, expert.severity.ERROR),
  refused = ProtoExpert.new("vesk.refused", "Refused", expert.group.RESPONSE_CODE, expert.severity.NOTE),
  unanswered = ProtoExpert.new("vesk.unanswered", "No answer", expert.group.RESPONSE_CODE, expert.severity.WARN),
}
vesk.experts = experts

-- Fields of messages. Wireshark compares a filter's value with that of every field that has the filter's name, without
-- a look at their types. So the plain name, as in vesk.outEngNo, belongs to values of one class; those of a later class
-- in this list have a suffix, as in vesk.padding.bytes.
local classes = {"number", "float", "text", "bytes", "record"}
local class_of = {u = "number", h = "number", i = "number", f = "float", s = "text", b = "bytes", r = "record"}
local constructors = {
  u = function(filter, name, values) return ProtoField.uint64(filter, name, base.DEC, values) end,
  h = function(filter, name) return ProtoField.uint64(filter, name, base.HEX) end,
  i = function(filter, name, values) return ProtoField.int64(filter, name, base.DEC, values) end,
  f = function(filter, name) return ProtoField.double(filter, name) end,
  s = function(filter, name) return ProtoField.string(filter, name) end,
  b = function(filter, name) return ProtoField.bytes(filter, name) end,
  r = function(filter, name) return ProtoField.none(filter, name) end,
}
value_names["message.result"] = results

-- Where the values of a field have their names, or nil.
local function values_of(name, record)
  local own = (record or "message") .. "." .. name
  return value_names[own] and own or value_names[name] and name
end

-- Sorts first what has names, which Wireshark takes from the first field of a name, and after "i" what is unsigned: it
-- reads a filter's number as the last one's.
local function key_of(name, kind, values)
  return name .. (values and "/1" .. values or "/2") .. "/" .. kind
end

local used, fields = {}, {} -- what is declared, by name, class and key; Wireshark's fields by key

local function declare(name, kind, record)
  local class = class_of[kind]
  used[name] = used[name] or {}
  used[name][class] = used[name][class] or {}
  used[name][class][key_of(name, kind)] = {kind = kind}
  local values = values_of(name, record)
  if values then used[name][class][key_of(name, kind, values)] = {kind = kind, values = value_names[values]} end
end

local function declare_all()
  for record, description in pairs(records) do
    for _, field in ipairs(description) do
      declare(field[1], field[5], record)
      if field[5] ~= "r" then declare(field[1], "b") end -- what there is of a value that is cut off
    end
  end
  for _, messages in ipairs({requests, answers, notifications}) do
    for _, message in pairs(messages) do
      for _, argument in ipairs(message.arguments) do declare(argument[1], argument[4]) end
      if message.number then declare(message.number[1], message.number[2]) end
    end
  end
  for name, kind in pairs({name = "s", result = "u", text = "s", data = "b", rest = "b", entry = "r",
                           uwSubMsgID = "u", ulParam1 = "u", ulParam2 = "u"}) do
    declare(name, kind)
  end
end

local function sorted_keys(map)
  local keys = {}
  for key in pairs(map) do keys[#keys + 1] = key end
  table.sort(keys)
  return keys
end

local function register_all()
  local registered = {}
  for _, list in ipairs({head, generated}) do
    for _, field in pairs(list) do registered[#registered + 1] = field end
  end
  for _, name in ipairs(sorted_keys(used)) do
    local is_taken = generated[name] or experts[name] or name == "head"
    for _, class in ipairs(classes) do
      local declared = used[name][class] or {}
      local filter = "vesk." .. name .. (is_taken and "." .. class or "")
      for _, key in ipairs(sorted_keys(declared)) do
        fields[key] = constructors[declared[key].kind](filter, name, declared[key].values)
        registered[#registered + 1] = fields[key]
        is_taken = true
      end
    end
  end
  vesk.fields = registered
end

declare_all()
register_all()

-- The first bytes of characters in UTF-8; bytes from 0x80 to 0xbf follow.
local characters = {"^[\xc2-\xdf].", "^\xe0[\xa0-\xbf].", "^[\xe1-\xec\xee\xef]..", "^\xed[\x80-\x9f].",
  "^\xf0[\x90-\xbf]..", "^[\xf1-\xf3]...", "^\xf4[\x80-\x8f].."}
local REPLACEMENT = "\xef\xbf\xbd"

-- The text up to its NUL. What is not UTF-8 in it is replaced, or tshark would write JSON and XML that nobody can read.
local function text_of(range)
  local text = range:raw():match("^[^%z]*")
  return (text:gsub("[\x80-\xff][\x80-\xbf]*", function(bytes)
    for _, character in ipairs(characters) do
      local found = bytes:match(character)
      if found then return #found == #bytes and bytes or found .. REPLACEMENT end
    end
    return REPLACEMENT
  end))
end

-- Of the numbers of type double that a float may stand for, the shortest: 0.1, as people write it in filters.
local function float_of(range)
  local value = range:le_float()
  if range:len() == 8 then return value end
  for digits = 6, 9 do
    local short = tonumber(string.format("%." .. digits .. "g", value))
    if short and Struct.unpack("<f", Struct.pack("<f", short)) == value then return short end
  end
  return value
end

local function add(tree, name, kind, range, record)
  local field = fields[key_of(name, kind)]
  if kind == "s" then
    return tree:add(field, range, text_of(range))
  elseif kind == "f" then
    return tree:add(field, range, float_of(range))
  elseif kind == "b" or kind == "r" then
    return tree:add(field, range)
  end
  local values = values_of(name, record)
  local is_named = values and value_names[values][range:le_uint64():tonumber()]
  return tree:add_le(is_named and fields[key_of(name, kind, values)] or field, range)
end

-- Bytes of a message from an offset up to another one, or as many as there are.
local function add_bytes(tree, name, tvb, first, last)
  last = math.min(last or tvb:len(), tvb:len())
  if first < last then add(tree, name, "b", tvb(first, last - first)) end
end

local function add_record(tree, record, tvb, offset)
  for _, field in ipairs(records[record]) do
    local name, size, elements, kind = field[1], field[3], field[4], field[5]
    for i = 0, math.max(elements, 1) - 1 do
      local at = offset + field[2] + i * size
      if at >= tvb:len() then break end
      local present = math.min(size, tvb:len() - at)
      local item = add(tree, name, kind ~= "r" and present < size and "b" or kind, tvb(at, present), record)
      local text = item.text -- none while nobody looks at the tree
      if elements > 0 and text then item:set_text(name .. "[" .. i .. "]" .. text:sub(#name + 1)) end
      if kind == "r" then add_record(item, field[6], tvb, at) end
    end
  end
end

local function add_payload(tree, message, tvb)
  local size = tvb:len() - HEAD_SIZE
  if size == 0 then return end
  local record = records[message.record]
  if message.number and size == message.size then
    add(tree, message.number[1], message.number[2], tvb(HEAD_SIZE, size))
  elseif message.form == "text" then
    add(tree, "text", "s", tvb(HEAD_SIZE, size))
  elseif record and message.form == "array" then
    for i = 0, math.ceil(size / message.size) - 1 do
      local offset = HEAD_SIZE + i * message.size
      local entry = add(tree, "entry", "r", tvb(offset, math.min(message.size, tvb:len() - offset)))
      entry:set_text("[" .. i .. "]")
      add_record(entry, message.record, tvb, offset)
      add_bytes(entry, "rest", tvb, offset + record.size, offset + message.size)
    end
  elseif record then
    add_record(tree, message.record, tvb, HEAD_SIZE)
    add_bytes(tree, "rest", tvb, HEAD_SIZE + record.size)
  else
    add_bytes(tree, "data", tvb, HEAD_SIZE)
  end
end

local no_message = {arguments = {
  {"uwSubMsgID", 6, 2, "u", false}, {"ulParam1", 8, 8, "u", false}, {"ulParam2", 16, 4, "u", false}}}

-- What a message of a kind and number is called, and what it consists of.
local function listed(kind, number)
  local message = (({requests, answers, notifications})[kind] or {})[number] or no_message
  return message.name or tostring(number), message
end

local function bytes_of(size) return size .. (size == 1 and " byte" or " bytes") end

-- What is wrong with the length or form of a message that has a header, or nil.
local function problem_of(kind, message, tvb)
  local size, expected = tvb:len() - HEAD_SIZE, message.size
  local has = "the payload has " .. bytes_of(size)
  if not message.form then
    return "the number is not listed"
  elseif kind == ANSWER and size == 0 and tvb(6, 2):le_uint() ~= 0 then
    return nil -- refused
  elseif message.form == "record" and (size < expected or size > expected and kind ~= NOTIFICATION) then
    return has .. " instead of " .. expected
  elseif message.form == "array" then
    local present = tostring(math.floor(size / expected))
    local count = kind == ANSWER and present or tostring(tvb(message.count[1], message.count[2]):le_uint64())
    if size % expected ~= 0 or present ~= count then
      return string.format("%s, not %s entries of %s", has, count, bytes_of(expected))
    end
  elseif message.form == "text" and
    (size == 0 or size > expected or tvb(HEAD_SIZE):raw():find("\0", 1, true) ~= size) then
    return string.format("%s, not a text of at most %u with its NUL", has, expected)
  elseif message.form == "none" and size > 0 then
    return has .. " where none is expected"
  end
end

local function summary_of(name, kind, range)
  local value = kind == "i" and range:le_int64() or range:le_uint64()
  return string.format(" %s=%s", name, kind == "h" and "0x" .. value:tohex():gsub("^0+(.)", "%1") or tostring(value))
end

-- Adds the fields of a message and returns its summary.
local function add_message(tree, kind, number, tvb)
  local name, message = listed(kind, number)
  tree:add(fields[key_of("name", "s")], tvb(0, 0), name)
  if tvb:len() < HEAD_SIZE then
    add_bytes(tree, "data", tvb, 0)
    tree:add_proto_expert_info(experts.problem, "a message of " .. bytes_of(tvb:len()) .. " has no header")
    return name
  end
  local summary = name
  if kind == ANSWER then
    local result = tvb(6, 2):le_uint()
    local item = add(tree, "result", "u", tvb(6, 2))
    local text = results[result] or string.format("0x%x", result)
    if result ~= 0 then item:add_proto_expert_info(experts.refused, "refused: " .. text) end
    summary = name .. " -> " .. text
  end
  for _, argument in ipairs(message.arguments) do
    local range = tvb(argument[2], argument[3])
    if argument[5] or (range:le_uint64() ~= UInt64(0) and not (kind == ANSWER and argument[1] == "uwSubMsgID")) then
      add(tree, argument[1], argument[4], range)
      summary = summary .. summary_of(argument[1], argument[4], range)
    end
  end
  if message.number and tvb:len() == HEAD_SIZE + message.size then
    summary = summary .. summary_of(message.number[1], message.number[2], tvb(HEAD_SIZE))
  end
  add_payload(tree, message, tvb)
  local problem = problem_of(kind, message, tvb)
  if problem then tree:add_proto_expert_info(experts.problem, problem) end
  return problem and string.format("%s (%s)", summary, problem) or summary
end

-- Exchanges: those without an end by process and number, and all by the frames of their messages.
local open, exchanges = {}, {}
function vesk.init() open, exchanges = {}, {} end

local function follow_exchange(kind, number, tvb, pinfo)
  local exchange = tvb(16, 8):le_uint64()
  if pinfo.visited or exchange == UInt64(0) then return end
  local key = tvb(8, 4):le_uint() .. "/" .. tostring(exchange)
  if kind == REQUEST or kind == NOTIFICATION then
    open[key] = {begin = pinfo.number, name = listed(kind, number)}
    exchanges[pinfo.number] = open[key]
  elseif open[key] then
    open[key].finish, open[key].finishKind = pinfo.number, kind
    exchanges[pinfo.number], open[key] = open[key], nil
  end
end

local function add_generated(tree, field, value)
  tree:add(field, value):set_generated()
end

-- Adds what the recording tells about an exchange in other packets than this one. Returns the exchange.
local function add_exchange(tree, kind, tvb, pinfo)
  local exchange = exchanges[pinfo.number] or {}
  if exchange.finish and exchange.begin == pinfo.number then
    add_generated(tree, exchange.finishKind == ANSWER and generated.response_in or generated.done_in, exchange.finish)
  elseif exchange.finish then
    add_generated(tree, kind == ANSWER and generated.response_to or generated.done_of, exchange.begin)
  end
  if kind == ANSWER or kind == DONE then
    local ns = tvb(32, 8):le_uint64()
    add_generated(tree, generated.time, NSTime((ns / 1000000000):tonumber(), (ns % 1000000000):tonumber()))
  end
  return exchange
end

local function add_head(tree, tvb)
  tree:add(head.kind, tvb(4, 1))
  tree:add(head.sent, tvb(5, 1))
  tree:add(head.synchronous, tvb(5, 1))
  tree:add_le(head.process, tvb(8, 4))
  tree:add_le(head.thread, tvb(12, 4))
  tree:add_le(head.exchange, tvb(16, 8))
  tree:add_le(head.monotonic, tvb(24, 8))
  tree:add_le(head.duration, tvb(32, 8))
  tree:add_le(head.platform, tvb(40, 4))
  tree:add_le(head.number, tvb(44, 4))
  tree:add_le(head.length, tvb(48, 4))
  tree:add_le(head.timeout, tvb(52, 4))
  tree:add(head.program, tvb(56, 32), text_of(tvb(56, 32)))
  local from = text_of(tvb(88, 16)) .. "/" .. text_of(tvb(104, 16))
  local to = text_of(tvb(120, 16)) .. "/" .. text_of(tvb(136, 16))
  tree:add(head.from, tvb(88, 32), from)
  tree:add(head.to, tvb(120, 32), to)
  return from, to
end

function vesk.dissector(tvb, pinfo, root)
  if tvb:len() < RECORDED_SIZE or tvb(0, 2):le_uint() ~= 1 then return 0 end
  local kind, size, number = tvb(4, 1):uint(), tvb(2, 2):le_uint(), tvb(44, 4):le_uint()
  if size < RECORDED_SIZE or size > tvb:len() then return 0 end
  pinfo.cols.protocol = "VESK"
  local tree = root:add(vesk, tvb())
  local from, to = add_head(tree:add(head.whole, tvb(0, size)), tvb)
  follow_exchange(kind, number, tvb, pinfo)
  local exchange = add_exchange(tree, kind, tvb, pinfo)
  if kind ~= REQUEST and kind ~= ANSWER and kind ~= NOTIFICATION then
    pinfo.cols.info = kind == DONE and string.format("%s done in %s ns", exchange.name or number,
      tostring(tvb(32, 8):le_uint64())) or "note"
    return tvb:len()
  end
  pinfo.cols.src = from
  pinfo.cols.dst = to
  local prefix = kind == NOTIFICATION and number .. " " or ""
  if size < tvb:len() then
    pinfo.cols.info = prefix .. add_message(tree, kind, number, tvb(size):tvb())
  else
    local platform = tvb(40, 4):le_uint()
    local text = string.format("no data, platform's result %s", results[platform] or string.format("0x%x", platform))
    pinfo.cols.info = string.format("%s%s: %s", prefix, (listed(kind, number)), text)
    if platform ~= 0 then tree:add_proto_expert_info(experts.unanswered, text) end
  end
  return tvb:len()
end
