-- For tshark: writes to the file $COUNTS how many packets each line of the file $FILTERS matches.
local counting = Proto("counting", "Counts what filters match")
local counts = io.open(os.getenv("COUNTS"), "w")

local function count(filter)
  local matches, tap = 0, Listener.new("frame", filter)
  function tap.packet() matches = matches + 1 end
  function tap.draw() counts:write(matches, " ", filter, "\n") end
end

function counting.init() -- a filter can name the fields of other scripts from now on
  for filter in io.lines(os.getenv("FILTERS")) do count(filter) end
end
