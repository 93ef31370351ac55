// taken over by the folder's real sources
