-- Messages: their headers and the parts of their bodies.

local names_of_senders = { client = "client", daemon = "aaad" }

local function find_message(type, sender, body_length)
  for _, message in ipairs(tables.messages) do
    if message.type == type and message.sender == sender and
      (message.body_length or body_length) == body_length then
      return message
    end
  end
end

local Body = {}
Body.__index = Body

-- A text behind its length.
function Body:read_counted_text(part)
  local cursor, nodes, width = self.cursor, self.nodes, part.length_width
  if cursor:left() < width then return false end
  local length = cursor:number(0, width)
  nodes[#nodes + 1] = { field = part.length_field, name = part.length_field.name, at = cursor.at,
    length = width }
  cursor.at = cursor.at + width
  if length > cursor:left() then return false end
  nodes[#nodes + 1] = { field = part.field, name = part.name, at = cursor.at, length = length,
    secret = part.secret }
  cursor.at = cursor.at + length
  return true
end

function Body:read_rest(part)
  local cursor = self.cursor
  self.nodes[#self.nodes + 1] = { field = part.field, name = part.name, at = cursor.at,
    length = cursor:left() }
  cursor.at = cursor.stop
  return true
end

-- What is behind its NUL may be anything.
function Body:read_text(part)
  local cursor = self.cursor
  local length = cursor:left()
  if length > 0 then length = cursor.buffer(cursor.at, length):raw():find("%z") or length end
  self.nodes[#self.nodes + 1] = { field = part.field, name = part.name, at = cursor.at,
    length = length }
  cursor.at = cursor.at + length
  if cursor:left() == 0 then return true end
  cursor:remark("%s goes on behind its end", part.name)
  self.nodes[#self.nodes + 1] = cursor:take_unknown(cursor:left())
  return true
end

local readers = {
  block = function(body, part) return body.cursor:read_block(part.block, "the body", body.nodes) end,
  items = function(body, part) return Items.read(body.cursor, part.list, body.nodes) end,
  short_text = Body.read_counted_text,
  long_text = function(body, part)
    body.long_texts = body.long_texts or { at = body.cursor.at, nodes = #body.nodes }
    return body:read_counted_text(part)
  end,
  text = Body.read_text,
  octets = Body.read_rest,
  unknown = function(body, part)
    if body.cursor:left() == 0 then return true end
    body:read_rest(part)
    body.nodes[#body.nodes].secret = true
    return true
  end,
  messages = function(body) return not body.in_batch and body:read_messages() end,
}

-- A text whose length is wrong is not the text alone, and what is taken for a second length may be
-- a piece of the first text.
function Body:doubt_texts()
  if self.long_texts then
    self.cursor.at = self.long_texts.at
    shorten(self.nodes, self.long_texts.nodes)
  end
  for _, node in ipairs(self.nodes) do
    if node.name == "group_name" then node.secret = true end
  end
end

function Body:check_socket(message, socket)
  if message.sockets ~= "both" and socket and message.sockets ~= socket then
    self.cursor:remark("is not sent on this socket")
  end
end

function Body:read(message, socket)
  self:check_socket(message, socket)
  local is_whole = true
  for _, part in ipairs(message.parts) do
    is_whole = is_whole and readers[part.shape](self, part)
  end
  if not is_whole or self.cursor.at ~= self.cursor.claimed_stop then self:doubt_texts() end
end

local function has_header(buffer, at, stop)
  return stop - at >= tables.header.size and buffer(at, 4):le_uint() == tables.marker
end

-- A message from `at` on. A batch may be part of a message, but has no batches.
local function read_message(frame, at, stop, in_batch)
  local message = { at = at, nodes = {}, messages = {}, remarks = {}, stop = at }
  if not has_header(frame.buffer, at, stop) then return message end
  message.header = {}
  for _, row in ipairs(tables.header.rows) do
    message.header[row.name] = frame.buffer(at + row.offset, row.width):le_uint()
  end
  local body_at = at + tables.header.size
  local claimed_stop = body_at + message.header.length
  message.stop = math.min(claimed_stop, stop)
  local cursor = Cursor.new(frame, body_at, message.stop, claimed_stop, message.remarks)
  if message.stop < claimed_stop then
    cursor:remark("the body is truncated: %d of %d bytes are there", cursor:left(),
      message.header.length)
  end
  local body = setmetatable({ frame = frame, cursor = cursor, nodes = message.nodes,
    messages = message.messages, in_batch = in_batch }, Body)
  local description = find_message(message.header.type, frame.sender, message.header.length)
  if description then
    body:read(description, frame.socket)
  else
    cursor:remark("%s such message", frame.sender == "client" and "clients send no"
      or "aaad sends no")
  end
  local left = cursor:left()
  if left > 0 then
    cursor:remark("%d bytes of the body are not part of the message", left)
    message.nodes[#message.nodes + 1] = cursor:take_unknown(left)
  end
  return message
end

-- Until something else than a message is met, or no more may be listed.
function Body:read_messages()
  local cursor = self.cursor
  while cursor:left() > 0 do
    if not cursor:may_list() then return false end
    local message = read_message(self.frame, cursor.at, cursor.stop, true)
    if not message.header then return false end
    cursor:count_listed(1)
    cursor.at = message.stop
    self.messages[#self.messages + 1] = message
  end
  return true
end

local function read_frame(frame)
  local length = frame.buffer:len()
  local message = read_message(frame, 0, length, false)
  local rest = Cursor.new(frame, message.stop, length, length, message.remarks)
  if not message.header then rest:remark("no message begins here") end
  if rest:left() > 0 then
    rest:remark("%d bytes are not part of a message", rest:left())
    message.nodes[#message.nodes + 1] = rest:take_unknown(rest:left())
  end
  return message
end

local function headline(message, frame)
  local header = message.header
  if not header then return "no message" end
  local text = string.format("%d (%s) id %d, %d bytes, from %s", header.type,
    tables.type_names[header.type] or "Unknown msg", header.id, header.length,
    names_of_senders[frame.sender])
  return frame.socket and text .. " on the " .. frame.socket .. " socket" or text
end
