-- A movie script as the host plays it: the top level, prepareMovie and startMovie, then each
-- frame prepareFrame, enterFrame and exitFrame, then stopMovie; globals declared outside the
-- handlers reach every handler.
global gLog, gFrames, gCycle

gLog = ["top level"]
put "top level: the frame", the frame, "tempo", the frameTempo

on prepareMovie
  go = 5 -- a variable may be named go
  append(gLog, "prepareMovie" && go)
end

on startMovie
  append(gLog, "startMovie")
  gFrames = 0
  puppetTempo 59.6 -- rounded to whole frames a second
  startTimer
end

on prepareFrame
  global gFrames -- declared again in the handler: the same global
  gFrames = gFrames + 1
  append(gLog, "prepareFrame" && gFrames)
end

on enterFrame
  append(gLog, "enterFrame" && gFrames)
  -- A cycle made in one frame and let go in a later one goes between frames, not at the end.
  if gFrames = 1 then
    gCycle = [new(xtra "Tonvik")]
    add(gCycle, gCycle)
  end if
  if gFrames = 2 then gCycle = 0
end

on exitFrame me
  append(gLog, "exitFrame" && gFrames)
  -- Each form keeps playing the one frame.
  if gFrames = 1 then go to the frame
  if gFrames = 2 then go to frame 1
  if gFrames = 3 then go the frame
  go(1)
  go loop
end

-- Never called, so what they use is never looked at.
on mouseUp
  put the mouseH, the clickOn
end

on keyDown
  go to movie "other"
end

on stopMovie
  append(gLog, "stopMovie")
  put gLog
  put "frames:", gFrames, "the frame:", the frame, "tempo:", the FrameTempo
  put "timer started at startMovie:", the timer <= the ticks
  put "values held:", hostLiveValues()
end
