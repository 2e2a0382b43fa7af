[Canvas01]
FileName=hillcam.can
[Canvas02]
FileName=thumbnail.can
[Karvell]
CSVEnabled=True
CSVDelay=15
CSVFile=weather.csv
CSVWindStatisticsInterval=600
[WebServer]
Enabled=True
AllowNonCanvasServes=True
Port=18080
WebPath=web
[VideoFeeds]
Feed0Name=Demo Camera
Feed0Enabled=True
Feed0FrameRate=10
