-- What was read, as Wireshark's tree; and the dissector.

local function add_words(tree, field, range)
  for at = 0, range:len() - 4, 4 do tree:add_le(field.shown, range(at, 4)) end
end

-- Up to the first NUL.
local function add_text(tree, field, range)
  local length = range:len()
  local ends = length > 0 and range:raw():find("%z") or length + 1
  tree:add(field.shown, range, ends > 1 and range(0, ends - 1):string(ENC_UTF_8) or "")
end

-- Octets that are a text are shown as one too; in a block they may be filled up with zeros.
local function add_octets(tree, field, range)
  local item = tree:add(field.shown, range)
  if range:len() == 0 then return item:set_text(field.label .. ": empty") end
  local text = range:raw():match("^(%g[%g ]*)%z*$")
  if text then item:append_text(' "' .. text .. '"') end
end

local function add_little(tree, field, range) tree:add_le(field.shown, range) end
local function add_plain(tree, field, range) return tree:add(field.shown, range) end

local adders = { number = add_little, signed_number = add_little, network_number = add_plain,
  words = add_words, octets = add_octets, text = add_text }

local function add_secret(tree, node, range)
  local item = tree:add(node.field.hidden, range, node.length)
  if node.field == stranger_field then
    item:set_text(string.format("%s (%d): %d bytes, secret", node.name, node.tag, node.length))
  end
  if aaa.prefs.secrets and node.length > 0 then item:append_text(": " .. range:bytes():tohex(true)) end
end

local function add_nodes(tree, buffer, nodes)
  for _, node in ipairs(nodes) do
    local range = buffer(node.at, node.length)
    if node.nodes and not node.secret then
      add_nodes(add_plain(tree, node.field, range), buffer, node.nodes)
    elseif node.secret and (node.has_no_value or node.nodes or not aaa.prefs.secrets) then
      add_secret(tree, node, range)
    else
      adders[node.field.kind](tree, node.field, range)
    end
  end
end

local function add_message(tree, frame, message)
  if message.header then
    for _, row in ipairs(tables.header.rows) do
      tree:add_le(header_fields[row.name], frame.buffer(message.at + row.offset, row.width))
    end
  end
  add_nodes(tree, frame.buffer, message.nodes)
  for _, part in ipairs(message.messages) do
    local range = frame.buffer(part.at, part.stop - part.at)
    local branch = tree:add(batched_message, range)
    branch:set_text(headline(part, frame))
    add_message(branch, frame, part)
  end
  for _, text in ipairs(message.remarks) do tree:add_proto_expert_info(remark, text) end
end

local interface_name = Field.new("frame.interface_name")

-- The interface is named for the socket; the direction is the daemon's.
local function frame_of(buffer, packet)
  local interface = interface_name()
  local name = interface and tostring(interface)
  return { buffer = buffer, listed = 0, sender = packet.p2p_dir == P2P_DIR_SENT and "daemon" or "client",
    socket = (name == "request" or name == "event") and name or nil }
end

function aaa.dissector(buffer, packet, tree)
  local frame = frame_of(buffer, packet)
  local message = read_frame(frame)
  packet.cols.protocol = "AAA"
  packet.cols.info = headline(message, frame)
  add_message(tree:add(aaa, buffer(), headline(message, frame)), frame, message)
end

DissectorTable.get("wtap_encap"):add(wtap.USER0, aaa)
