; made by hand
[playlist]
NumberOfEntries=4
File1=http://stream.example/high.mp3
Title1=Night Call Radio (high)
Length1=-1
file3=The Lantern Keepers/Ember Static/01 Meadow Northern.mp3
title3=The Lantern Keepers - Meadow Northern
length3=187
Title5=Lost entry
File12=https://stream.example/low.aac
Version=2
